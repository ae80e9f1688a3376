// Whole reads and replacing saves, as every system must give them.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/temp_folder.h"

namespace {

using platform::ReadStatus;
namespace fs = std::filesystem;

ReadStatus Read(const fs::path& name, std::string& bytes, std::size_t limit = SIZE_MAX) {
  return platform::ReadWholeFile(name.wstring().c_str(), limit, bytes);
}

TEST(FilesTest, WhatIsWrittenIsReadAndNothingElseStays) {
  const TempFolder folder;
  const fs::path name = folder.Path() / "file.xml";
  // The first one makes the file; sizes lie around those of the buffers, growing and shrinking.
  for (const std::size_t size : {5U, 0U, 4096U, 16384U, 65535U, 65536U, 65537U, 300000U, 1U}) {
    std::string written(size, '\n');
    for (std::size_t i = 0; i < size; i += 3) written[i] = static_cast<char>(i * i >> 3);
    platform::ReplaceWholeFile(name.wstring().c_str(), written);
    std::string read = "old";
    EXPECT_EQ(Read(name, read, size), ReadStatus::Done) << size;
    EXPECT_TRUE(read == written) << size;
    EXPECT_EQ(folder.FileCount(), 1);
    if (size > 0) {
      EXPECT_EQ(Read(name, read, size - 1), ReadStatus::TooLong) << size;
    }
  }
}

TEST(FilesTest, WhatMustNotBeReplacedIsRefused) {
  const TempFolder folder;
  fs::create_directory(folder.Path() / "folder");
  folder.Write("read-only", "old");
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_read);
  for (const char* name : {"folder", "read-only", "none/file", "read-only/below"}) {
    EXPECT_THROW(platform::ReplaceWholeFile((folder.Path() / name).wstring().c_str(), "new"), std::runtime_error)
        << name;
  }
  EXPECT_EQ(folder.Read("read-only"), "old");
  EXPECT_EQ(folder.FileCount(), 2);
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_all); // or some systems would not remove it
}

} // namespace
