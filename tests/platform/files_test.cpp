// Whole reads and replacing saves, as every system must give them.
#include <gtest/gtest.h>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

using platform::FileState;
using platform::LockedFile;
using platform::ReadStatus;
namespace fs = std::filesystem;

ReadStatus Read(const fs::path& name, std::string& bytes, FileState& state, std::size_t limit = SIZE_MAX) {
  return platform::ReadWholeFile(name, limit, bytes, state);
}

FileState Replace(const fs::path& name, std::string_view bytes, std::uint32_t permissions = 0) {
  LockedFile file(name);
  EXPECT_TRUE(file.Replace({bytes}, permissions));
  file.FlushFolder();
  return *file.State();
}

TEST(FilesTest, WhatIsWrittenIsReadAndNothingElseStays) {
  const TempFolder folder;
  const fs::path name = folder.Write("file.xml", "old");
  std::string read;
  FileState state;
  EXPECT_EQ(Read(name, read, state), ReadStatus::Done);
  EXPECT_FALSE(state.isSettled) << "so young a file can change without a sign";
  fs::remove(name);
  EXPECT_EQ(Read(name, read, state), ReadStatus::Missing);
  // The first one makes the file; sizes lie around those of the buffers, growing and shrinking.
  for (const std::size_t size : {5U, 0U, 4096U, 16384U, 65535U, 65536U, 65537U, 300000U, 1U}) {
    std::string written(size, '\n');
    for (std::size_t i = 0; i < size; i += 3) written[i] = static_cast<char>(i * i >> 3);
    const FileState replaced = Replace(name, written, state.permissions);
    EXPECT_EQ(Read(name, read, state, size), ReadStatus::Done) << size;
    EXPECT_TRUE(read == written) << size;
    EXPECT_TRUE(replaced.identity == state.identity && replaced.isSettled && replaced.permissions == state.permissions);
    EXPECT_EQ(folder.FileCount(), 1);
    if (size > 0) {
      EXPECT_EQ(Read(name, read, state, size - 1), ReadStatus::TooLong) << size;
    }
  }
}

TEST(FilesTest, AnEditRightBehindASaveIsSeenThoughTheSizeIsTheSame) {
  const TempFolder folder;
  for (int time = 0; time < 50; ++time) {
    const fs::path name = folder.Write("file", "old");
    const FileState replaced = Replace(name, "new");
    folder.Write("file", "wen");
    EXPECT_FALSE(LockedFile(name).State()->identity == replaced.identity);
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
  EXPECT_EQ(folder.FileCount(), 2);
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_all); // or some systems would not remove it
}

} // namespace
