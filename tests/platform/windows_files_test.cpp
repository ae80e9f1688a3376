// What replacing a file must respect on Windows alone.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/platform.h"
#include "support/temp_folder.h"

namespace {

TEST(WindowsFilesTest, AttributesAreTakenOverAndNamesNeedNoLocale) {
  const TempFolder folder;
  const std::wstring name = (folder.Path() / L"\u4e2d").wstring();
  std::string bytes;
  for (const DWORD attributes : {0, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_SYSTEM}) {
    ASSERT_TRUE(attributes == 0 || SetFileAttributesW(name.c_str(), attributes));
    const DWORD before = GetFileAttributesW(name.c_str());
    platform::ReplaceWholeFile(name.c_str(), "new");
    EXPECT_TRUE(attributes == 0 || GetFileAttributesW(name.c_str()) == before) << attributes;
    EXPECT_EQ(platform::ReadWholeFile(name.c_str(), 3, bytes), platform::ReadStatus::Done);
  }
}

TEST(WindowsFilesTest, AFileThatAnotherProgramHoldsStaysWhole) {
  const TempFolder folder;
  const std::wstring name = std::filesystem::path(folder.Write("file", "old")).wstring();
  const HANDLE held = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_THROW(platform::ReplaceWholeFile(name.c_str(), "new"), std::runtime_error);
  CloseHandle(held);
  EXPECT_EQ(folder.Read("file"), "old");
  EXPECT_EQ(folder.FileCount(), 1) << "the temporary file stayed";
}

} // namespace
