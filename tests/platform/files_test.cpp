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

void Replace(const fs::path& name, std::string_view bytes) {
  platform::ReplaceWholeFile(name.wstring().c_str(), bytes);
}

std::size_t FileCount(const fs::path& folder) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * i >> 3);
  return bytes;
}

TEST(FilesTest, WhatIsWrittenIsReadAndNothingElseStays) {
  const TempFolder folder;
  const fs::path name = folder.Path() / "file.xml";
  // The first one makes the file; sizes lie around those of the buffers, growing and shrinking.
  for (const std::size_t size : {5U, 0U, 4095U, 4096U, 65535U, 65536U, 65537U, 300000U, 1U}) {
    const std::string written = Pattern(size);
    Replace(name, written);
    std::string read = "old";
    EXPECT_EQ(Read(name, read, size), ReadStatus::Done) << size;
    EXPECT_TRUE(read == written) << size;
    EXPECT_EQ(FileCount(folder.Path()), 1U);
    if (size > 0) {
      EXPECT_EQ(Read(name, read, size - 1), ReadStatus::TooLong) << size;
    }
  }
}

TEST(FilesTest, WhatIsNoReadableFileSaysSo) {
  const TempFolder folder;
  folder.Write("file", "text");
  const struct {
    fs::path name;
    ReadStatus status;
  } cases[] = {
      {folder.Path() / "none", ReadStatus::Missing},
      {folder.Path() / "none" / "file", ReadStatus::Missing},
      {folder.Path() / "file" / "below", ReadStatus::Missing},
      {"", ReadStatus::Missing},
      {folder.Path(), ReadStatus::Unreadable},
  };
  for (const auto& each : cases) {
    std::string bytes;
    EXPECT_EQ(Read(each.name, bytes), each.status) << each.name;
  }
}

TEST(FilesTest, WhatMustNotBeReplacedIsRefused) {
  const TempFolder folder;
  fs::create_directory(folder.Path() / "folder");
  folder.Write("read-only", "old");
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_read);
  for (const char* name : {"folder", "read-only", "none/file", "read-only/below"}) {
    EXPECT_THROW(Replace(folder.Path() / name, "new"), std::runtime_error) << name;
  }
  EXPECT_EQ(folder.Read("read-only"), "old");
  EXPECT_EQ(FileCount(folder.Path()), 2U);
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_all); // or some systems would not remove it
}

} // namespace
