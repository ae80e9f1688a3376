// What replacing a file must respect only on Windows.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <thread>

#include "platform/files.h"
#include "support/temp_folder.h"

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

TEST_F(WindowsFilesTest, AttributesAreTakenOver) {
  for (const DWORD attributes :
       {FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_SYSTEM}) {
    ASSERT_TRUE(SetFileAttributesW(name.c_str(), attributes));
    const DWORD before = GetFileAttributesW(name.c_str());
    EXPECT_TRUE(LockedFile(name, Soon()).Replace({"new"}, nullptr));
    EXPECT_EQ(GetFileAttributesW(name.c_str()), before);
  }
}

// Opens the file, as another program would, and closes it after a while.
std::jthread Hold(const FileName& name, DWORD share, DWORD milliseconds) {
  const HANDLE held =
      CreateFileW(name.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(held, INVALID_HANDLE_VALUE);
  return std::jthread([=] {
    Sleep(milliseconds);
    CloseHandle(held);
  });
}

TEST_F(WindowsFilesTest, AFileThatAnotherProgramHoldsIsWaitedForAndStaysWhole) {
  for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
    std::jthread holder = Hold(name, share, 300);
    EXPECT_TRUE(LockedFile(name, Soon()).Replace({"new"}, nullptr)) << share;
    holder = Hold(name, share, 300);
    EXPECT_EQ(Read(name), ReadStatus::Done) << share;
    holder = Hold(name, share, 3500);
    EXPECT_THROW(LockedFile(name, Soon()).Replace({"newer"}, nullptr), std::system_error) << share;
    EXPECT_EQ(Read(name), share == 0 ? ReadStatus::Unreadable : ReadStatus::Done) << share;
  }
  EXPECT_EQ(folder.Read("file"), "new");
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
