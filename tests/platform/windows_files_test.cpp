// What replacing a file must respect only on Windows.
#include <gtest/gtest.h>
#include <windows.h>
// After windows.h, which it needs.
#include <sddl.h>

#include <atomic>
#include <thread>

#include "platform/windows/open_file.h"
#include "support/temp_folder.h"

namespace {

// What the calls below do instead of the system's, and what they saw.
struct {
  bool deniesWriteDac = false;                 // as a share that grants "Change" does
  DWORD renameError = ERROR_INVALID_PARAMETER; // of the newer way; 0: it is imitated
  std::string steps; // attributes set, h with and s without "hidden"; f flushed, r renamed
  DWORD attributes = 0, flags = 0;
  std::wstring temporaryName;
} calls;

template <class Function>
Function* SystemFunction(const Function&, const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

HANDLE WINAPI CreateOrOpen(const wchar_t* name, DWORD access, DWORD share,
                           SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                           HANDLE pattern) {
  static auto* const original = SystemFunction(CreateOrOpen, "CreateFileW");
  if (calls.deniesWriteDac && (access & WRITE_DAC) != 0) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  return original(name, access, share, security, disposition, flags, pattern);
}

BOOL WINAPI Flush(HANDLE file) {
  static auto* const original = SystemFunction(Flush, "FlushFileBuffers");
  calls.steps += 'f';
  return original(file);
}

BOOL WINAPI SetInformation(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, void* data, DWORD size) {
  static auto* const original = SystemFunction(SetInformation, "SetFileInformationByHandle");
  constexpr auto fileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  if (kind == FileBasicInfo) {
    calls.attributes = static_cast<const FILE_BASIC_INFO*>(data)->FileAttributes;
    calls.steps += (calls.attributes & FILE_ATTRIBUTE_HIDDEN) != 0 ? 'h' : 's';
  }
  if (kind != fileRenameInfoEx) return original(file, kind, data, size);

  calls.steps += 'r';
  calls.flags = *static_cast<const DWORD*>(data);
  calls.temporaryName.resize(MAX_PATH);
  calls.temporaryName.resize(
      GetFinalPathNameByHandleW(file, calls.temporaryName.data(), MAX_PATH, 0));
  if (calls.renameError != 0) {
    SetLastError(calls.renameError);
    return FALSE;
  }
  // The old file is open, so it makes room instead of being replaced.
  const std::wstring target = static_cast<const FILE_RENAME_INFO*>(data)->FileName;
  const std::wstring aside = target + L"-aside";
  return MoveFileW(target.c_str(), aside.c_str()) && original(file, FileRenameInfo, data, size) &&
         DeleteFileW(aside.c_str());
}

} // namespace

// The pointers through which the library and this program call the system.
#ifdef _WIN64
#define IMPORTED(name, argumentBytes) asm("__imp_" name)
#else
#define IMPORTED(name, argumentBytes) asm("__imp__" name "@" argumentBytes)
#endif
#define REPLACE(own, name, argumentBytes)                                        \
  extern "C" decltype(&(own)) const imported##own IMPORTED(name, argumentBytes); \
  decltype(&(own)) const imported##own = &(own);
REPLACE(CreateOrOpen, "CreateFileW", "28")
REPLACE(Flush, "FlushFileBuffers", "4")
REPLACE(SetInformation, "SetFileInformationByHandle", "16")

namespace {

using platform::FileName;
using platform::Handle;
using platform::LockedFile;
using platform::ReadStatus;

FileName Absolute(const std::filesystem::path& name) {
  return platform::AbsoluteFileName("", name.c_str());
}

platform::Deadline Soon() { return std::chrono::steady_clock::now() + platform::maxSaveWait; }

// As another program opens a file.
Handle Open(const FileName& name, DWORD share, DWORD access = GENERIC_READ) {
  Handle file = platform::MakeHandle(
      CreateFileW(name.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_TRUE(file) << name;
  return file;
}

// Opens the file as another program, which writes to it after a while, if anything, and closes it.
std::jthread Hold(const FileName& name, DWORD share, const std::string& bytes = "") {
  return std::jthread([bytes, file = Open(name, share, GENERIC_READ | GENERIC_WRITE)] {
    Sleep(300);
    DWORD count = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    EXPECT_TRUE(bytes.empty() || WriteFile(file.get(), bytes.data(), size, &count, nullptr));
  });
}

class WindowsFilesTest : public testing::Test {
 protected:
  WindowsFilesTest() { calls = {}; }

  bool Replace(const platform::Access* access = nullptr) const {
    LockedFile file(name, Soon());
    const bool isReplaced = file.Replace({"new"}, access);
    if (isReplaced) file.FlushFolder();
    return isReplaced;
  }
  ReadStatus Read(const FileName& file) {
    std::string bytes;
    return platform::ReadWholeFile(file, SIZE_MAX, bytes, state);
  }
  std::vector<unsigned char> AccessList() const {
    return platform::ReadAccessList(platform::OpenExisting(name, READ_CONTROL));
  }

  const TempFolder folder;
  const FileName name = Absolute(folder.Write("file", "old"));
  platform::FileState state; // of the file that was read last
};

TEST_F(WindowsFilesTest, NamesNeedNoLocaleAndHaveNoLimit) {
  EXPECT_EQ(Absolute("C:/a/../b."), L"\\\\?\\C:\\b");
  EXPECT_EQ(Absolute("\\\\server\\share\\b"), L"\\\\?\\UNC\\server\\share\\b");
  EXPECT_EQ(Absolute("\\\\?\\C:\\b"), L"\\\\?\\C:\\b");
  FileName deep = Absolute(folder.Path());
  for (const std::size_t length : {256 - deep.native().size(), std::size_t{200}}) {
    deep = deep / L"\u4e2d" / std::wstring(length - 3, L'x');
    ASSERT_TRUE(CreateDirectoryW(deep.parent_path().c_str(), nullptr));
    EXPECT_TRUE(LockedFile(deep, Soon()).Replace({"new"}, nullptr)) << deep.native().size();
    EXPECT_EQ(Read(deep), ReadStatus::Done) << deep.native().size();
    ASSERT_TRUE(DeleteFileW(deep.c_str()) && CreateDirectoryW(deep.c_str(), nullptr));
  }
  for (; deep.native().size() > 200; deep = deep.parent_path()) RemoveDirectoryW(deep.c_str());
}

TEST_F(WindowsFilesTest, TheNewFileIsHiddenUntilItIsFlushedAndRenamedByItsHandle) {
  constexpr DWORD replaceWhileOpen = 3;
  const struct {
    int error; // 1, 50 and 87 tell that the newer way is unsupported; 112: the disk is full
    int attribute;
    const char* after; // the text, then the steps
  } rows[] = {{0, FILE_ATTRIBUTE_NORMAL, "newhfsrf"},
              {1, FILE_ATTRIBUTE_SYSTEM, "newhfsrf"},
              {50, FILE_ATTRIBUTE_HIDDEN, "newhfrf"},
              {87, FILE_ATTRIBUTE_NORMAL, "newhfsrf"},
              {112, FILE_ATTRIBUTE_NORMAL, "oldhfsr"}};
  for (const auto& [error, attribute, after] : rows) {
    SCOPED_TRACE(error);
    SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL); // else it could not be written
    folder.Write("file", "old");
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), static_cast<DWORD>(attribute)));
    const DWORD before = GetFileAttributesW(name.c_str()) & ~DWORD{FILE_ATTRIBUTE_NORMAL};
    calls = {};
    calls.renameError = static_cast<DWORD>(error);
    if (error == 112) {
      EXPECT_THROW(Replace(), std::system_error);
    } else {
      EXPECT_TRUE(Replace());
      EXPECT_EQ(GetFileAttributesW(name.c_str()), before | FILE_ATTRIBUTE_ARCHIVE);
    }
    EXPECT_EQ(folder.Read("file") + calls.steps, after);
    EXPECT_EQ(calls.attributes & FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_EQ(calls.flags, replaceWhileOpen);
    EXPECT_EQ(folder.FileCount(), 1);
  }
}

TEST_F(WindowsFilesTest, AccessIsNeitherWidenedNorAskedForInVain) {
  const auto expectList = [&](const std::vector<unsigned char>& list, const char* file) {
    EXPECT_TRUE(platform::AreEqualAccessLists(AccessList(), list)) << file;
  };
  const auto usual = AccessList();
  calls.deniesWriteDac = true;
  EXPECT_TRUE(Replace());
  expectList(usual, "usual");
  // Who denies the right for good is not waited for.
  const auto start = GetTickCount64();
  EXPECT_FALSE(platform::OpenExisting(name, WRITE_DAC));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_LT(GetTickCount64() - start, 500U);

  // This process's user may do everything, others nothing.
  void* descriptor = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      L"D:P(A;;FA;;;BA)(A;;FA;;;SY)", SDDL_REVISION_1, &descriptor, nullptr));
  EXPECT_TRUE(SetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, descriptor));
  LocalFree(descriptor);
  const auto own = AccessList();
  ASSERT_FALSE(platform::AreEqualAccessLists(own, usual));
  EXPECT_THROW(Replace(), std::system_error);
  EXPECT_EQ(folder.FileCount(), 1);

  calls.deniesWriteDac = false;
  ASSERT_EQ(Read(name), ReadStatus::Done);
  EXPECT_TRUE(Replace());
  expectList(own, "replaced");
  ASSERT_TRUE(DeleteFileW(name.c_str()));
  EXPECT_TRUE(Replace(state.access.get()));
  expectList(own, "vanished");
  const FileName other = Absolute(folder.Write("other", "other"));
  ASSERT_TRUE(MoveFileExW(other.c_str(), name.c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_TRUE(Replace(state.access.get()));
  expectList(own, "another file");
}

TEST_F(WindowsFilesTest, WhatAKilledSaverLeftIsRemoved) {
  ASSERT_TRUE(Replace());
  const FileName left = calls.temporaryName;
  ASSERT_NE(left.filename(), name.filename());
  folder.Write(left.filename().string(), "left");
  ASSERT_TRUE(Replace());
  EXPECT_EQ(folder.FileCount(), 1);

  folder.Write(left.filename().string(), "live");
  const Handle live = Open(left, 0);
  EXPECT_TRUE(Replace());
  EXPECT_EQ(folder.FileCount(), 2) << "a living saver's file was removed";
}

TEST(WindowsErrorsTest, NamesThatCannotExistAreMissingFiles) {
  for (const DWORD error : {2, 3, 15, 53, 67, 123, 161, 206})
    EXPECT_EQ(platform::OpeningStatus(error), ReadStatus::Missing) << error;
  for (const DWORD error : {5, 32, 59, 64, 1920})
    EXPECT_EQ(platform::OpeningStatus(error), ReadStatus::Unreadable) << error;
}

TEST_F(WindowsFilesTest, AFileThatAnotherProgramHoldsIsWaitedForAndKeepsItsEdit) {
  for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
    std::jthread holder = Hold(name, share);
    EXPECT_TRUE(Replace()) << share;
    holder = Hold(name, share);
    EXPECT_EQ(Read(name), ReadStatus::Done) << share;
    holder.join();
    const Handle held = Open(name, share);
    EXPECT_THROW(LockedFile(name, Soon()).Replace({"newer"}, nullptr), std::system_error) << share;
    EXPECT_EQ(Read(name), share == 0 ? ReadStatus::Unreadable : ReadStatus::Done) << share;
  }
  EXPECT_EQ(folder.Read("file"), "new");
  LockedFile file(name, Soon());
  const std::jthread editor = Hold(name, FILE_SHARE_READ, "edited");
  EXPECT_FALSE(file.Replace({"newer"}, nullptr));
  EXPECT_EQ(folder.Read("file"), "edited");
  EXPECT_EQ(folder.FileCount(), 1) << "the temporary file stayed";
}

TEST_F(WindowsFilesTest, AllNamesOfAFileShareOneLockThatNoEndedThreadKeeps) {
  std::thread([&] { static_cast<void>(new LockedFile(name, Soon())); }).join();
  const auto start = GetTickCount64();
  auto lock = std::make_unique<LockedFile>(name, Soon());
  EXPECT_LT(GetTickCount64() - start, 5000U);

  std::atomic<bool> isGivenBack = false;
  const std::jthread saver([&] {
    const LockedFile other(Absolute(name.parent_path() / L"FILE"), Soon());
    EXPECT_TRUE(isGivenBack && other.State());
  });
  Sleep(300);
  isGivenBack = true;
  lock.reset();
}

} // namespace
