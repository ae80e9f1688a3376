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
  DWORD attributes = 0;
  DWORD flags = 0;
  std::wstring temporaryName;
} calls;

template <class Function>
Function* SystemFunction(const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

HANDLE WINAPI Open(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE pattern) {
  static auto* const original = SystemFunction<decltype(Open)>("CreateFileW");
  if (calls.deniesWriteDac && (access & WRITE_DAC) != 0) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  return original(name, access, share, security, disposition, flags, pattern);
}

BOOL WINAPI Flush(HANDLE file) {
  static auto* const original = SystemFunction<decltype(Flush)>("FlushFileBuffers");
  calls.steps += 'f';
  return original(file);
}

BOOL WINAPI SetInformation(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, void* data, DWORD size) {
  static auto* const original =
      SystemFunction<decltype(SetInformation)>("SetFileInformationByHandle");
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
extern "C" {
extern decltype(&Open) const importedOpen IMPORTED("CreateFileW", "28");
extern decltype(&Flush) const importedFlush IMPORTED("FlushFileBuffers", "4");
extern decltype(&SetInformation)
    const importedSetInformation IMPORTED("SetFileInformationByHandle", "16");
decltype(&Open) const importedOpen = &Open;
decltype(&Flush) const importedFlush = &Flush;
decltype(&SetInformation) const importedSetInformation = &SetInformation;
}

namespace {

using platform::FileName;
using platform::LockedFile;
using platform::ReadStatus;

FileName Absolute(const std::filesystem::path& name) {
  return platform::AbsoluteFileName("", name.c_str());
}

platform::Deadline Soon() { return std::chrono::steady_clock::now() + platform::maxSaveWait; }

ReadStatus Read(const FileName& name) {
  std::string bytes;
  platform::FileState state;
  return platform::ReadWholeFile(name, SIZE_MAX, bytes, state);
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
  std::vector<unsigned char> AccessList() const {
    return platform::ReadAccessList(platform::OpenExisting(name, READ_CONTROL));
  }
  // Gives this process's user all rights and others none.
  void MakePrivate() const {
    void* descriptor = nullptr;
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"D:P(A;;FA;;;BA)(A;;FA;;;SY)", SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_TRUE(SetFileSecurityW(name.c_str(), DACL_SECURITY_INFORMATION, descriptor));
    LocalFree(descriptor);
  }

  const TempFolder folder;
  const FileName name = Absolute(folder.Write("file", "old"));
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

TEST_F(WindowsFilesTest, AttributesAreTakenOverAndTheArchiveBitIsSet) {
  for (const DWORD attributes :
       {FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM, FILE_ATTRIBUTE_NORMAL}) {
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), attributes));
    const DWORD before = GetFileAttributesW(name.c_str()) & ~DWORD{FILE_ATTRIBUTE_NORMAL};
    EXPECT_TRUE(Replace());
    EXPECT_EQ(GetFileAttributesW(name.c_str()), before | FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_EQ(calls.attributes & FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_ARCHIVE);
  }
}

TEST_F(WindowsFilesTest, TheNewFileIsHiddenUntilItIsFlushedAndRenamedByItsHandle) {
  constexpr DWORD replaceWhileOpen = 3;
  constexpr int diskFull = 112; // the others tell that the newer way is unsupported
  for (const int error : {0, 1, 50, 87, diskFull}) {
    folder.Write("file", "old");
    calls = {};
    calls.renameError = static_cast<DWORD>(error);
    if (error == diskFull) {
      EXPECT_THROW(Replace(), std::system_error);
      EXPECT_EQ(folder.Read("file") + calls.steps, "oldhfsr");
    } else {
      EXPECT_TRUE(Replace()) << error;
      EXPECT_EQ(folder.Read("file") + calls.steps, "newhfsrf") << error;
    }
    EXPECT_EQ(calls.flags, replaceWhileOpen);
    EXPECT_EQ(folder.FileCount(), 1) << error;
  }
}

TEST_F(WindowsFilesTest, AccessIsNeitherWidenedNorAskedForInVain) {
  const auto usual = AccessList();
  calls.deniesWriteDac = true;
  EXPECT_TRUE(Replace());
  EXPECT_TRUE(platform::AreEqualAccessLists(AccessList(), usual));

  MakePrivate();
  const auto own = AccessList();
  ASSERT_FALSE(platform::AreEqualAccessLists(own, usual));
  EXPECT_THROW(Replace(), std::system_error);
  EXPECT_EQ(folder.FileCount(), 1);

  calls.deniesWriteDac = false;
  std::string bytes;
  platform::FileState state;
  ASSERT_EQ(platform::ReadWholeFile(name, SIZE_MAX, bytes, state), ReadStatus::Done);
  EXPECT_TRUE(Replace());
  EXPECT_TRUE(platform::AreEqualAccessLists(AccessList(), own)) << "replaced";
  ASSERT_TRUE(DeleteFileW(name.c_str()));
  EXPECT_TRUE(Replace(state.access.get()));
  EXPECT_TRUE(platform::AreEqualAccessLists(AccessList(), own)) << "vanished";
  folder.Write("other", "other");
  ASSERT_TRUE(
      MoveFileExW(Absolute(folder.Name("other")).c_str(), name.c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_TRUE(Replace(state.access.get()));
  EXPECT_TRUE(platform::AreEqualAccessLists(AccessList(), own)) << "another file";
}

TEST_F(WindowsFilesTest, WhatOtherProgramsDoMeanwhileIsNoticed) {
  LockedFile changed(name, Soon());
  folder.Write("file", "theirs");
  EXPECT_FALSE(changed.Replace({"new"}, nullptr));
  EXPECT_EQ(folder.Read("file"), "theirs");
  const FileName missing = Absolute(folder.Name("missing"));
  LockedFile created(missing, Soon());
  folder.Write("missing", "theirs");
  EXPECT_FALSE(created.Replace({"new"}, nullptr));
  EXPECT_EQ(folder.Read("missing"), "theirs");
  EXPECT_EQ(folder.FileCount(), 2);
}

TEST_F(WindowsFilesTest, WhatAKilledSaverLeftIsRemoved) {
  ASSERT_TRUE(Replace());
  const FileName left = calls.temporaryName;
  ASSERT_NE(left.filename(), name.filename());
  folder.Write(left.filename().string(), "left");
  ASSERT_TRUE(Replace());
  EXPECT_EQ(folder.FileCount(), 1);

  const platform::Handle live = platform::MakeHandle(
      CreateFileW(left.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
  ASSERT_TRUE(live);
  EXPECT_TRUE(Replace());
  EXPECT_EQ(folder.FileCount(), 2) << "a living saver's file was removed";
}

TEST_F(WindowsFilesTest, ADenialThatStaysIsNotWaitedFor) {
  calls.deniesWriteDac = true;
  const auto start = GetTickCount64();
  EXPECT_FALSE(platform::OpenExisting(name, WRITE_DAC));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_LT(GetTickCount64() - start, 500U);
}

TEST(WindowsErrorsTest, NamesThatCannotExistAreMissingFiles) {
  for (const int error : {2, 3, 15, 53, 67, 123, 161, 206})
    EXPECT_EQ(platform::OpeningStatus(static_cast<DWORD>(error)), ReadStatus::Missing) << error;
  for (const int error : {5, 32, 59, 64, 1920})
    EXPECT_EQ(platform::OpeningStatus(static_cast<DWORD>(error)), ReadStatus::Unreadable) << error;
}

// Opens the file, as another program would, and after a while writes to it and closes it.
std::jthread Hold(const FileName& name, DWORD share, DWORD milliseconds,
                  const std::string& bytes = "") {
  const DWORD access = bytes.empty() ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
  const HANDLE held = CreateFileW(name.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(held, INVALID_HANDLE_VALUE);
  return std::jthread([=] {
    Sleep(milliseconds);
    DWORD count = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    EXPECT_TRUE(bytes.empty() || WriteFile(held, bytes.data(), size, &count, nullptr));
    CloseHandle(held);
  });
}

TEST_F(WindowsFilesTest, AFileThatAnotherProgramHoldsIsWaitedForAndStaysWhole) {
  for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
    std::jthread holder = Hold(name, share, 300);
    EXPECT_TRUE(Replace()) << share;
    holder = Hold(name, share, 300);
    EXPECT_EQ(Read(name), ReadStatus::Done) << share;
    holder.join();
    const platform::Handle held = platform::MakeHandle(
        CreateFileW(name.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    EXPECT_THROW(LockedFile(name, Soon()).Replace({"newer"}, nullptr), std::system_error) << share;
    EXPECT_EQ(Read(name), share == 0 ? ReadStatus::Unreadable : ReadStatus::Done) << share;
  }
  EXPECT_EQ(folder.Read("file"), "new");
  EXPECT_EQ(folder.FileCount(), 1) << "the temporary file stayed";
}

TEST_F(WindowsFilesTest, AnEditByTheProgramThatIsWaitedForStays) {
  LockedFile file(name, Soon());
  const std::jthread editor = Hold(name, FILE_SHARE_READ, 300, "edited");
  EXPECT_FALSE(file.Replace({"new"}, nullptr));
  EXPECT_EQ(folder.Read("file"), "edited");
  EXPECT_EQ(folder.FileCount(), 1);
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
