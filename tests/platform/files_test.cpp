// Reading and replacing files, on every system.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

using platform::LockedFile;
using platform::ReadStatus;
namespace fs = std::filesystem;

platform::Deadline Soon() { return std::chrono::steady_clock::now() + platform::maxSaveWait; }

TEST(FilesTest, WhatIsWrittenIsReadAndNothingElseStays) {
  const TempFolder folder;
  const fs::path name = folder.Write("file.xml", "old");
  std::string read;
  platform::FileState state;
  const auto readUpTo = [&](std::size_t limit) {
    return platform::ReadWholeFile(name, limit, read, state);
  };
  EXPECT_EQ(readUpTo(3), ReadStatus::Done);
  EXPECT_FALSE(state.isSettled) << "so young a file can change without a sign";
#ifndef _WIN32
  EXPECT_EQ(platform::ReadWholeFile("/proc/self/status", 3, read, state), ReadStatus::TooLong)
      << "its size is given as 0";
  umask(S_IWGRP | S_IWOTH);
#endif
  fs::remove(name);
  EXPECT_EQ(readUpTo(3), ReadStatus::Missing);
  // The first one creates the file. The sizes are around those of the buffers, growing and
  // shrinking.
  for (const std::size_t size : {5U, 0U, 4096U, 16384U, 65535U, 65536U, 65537U, 300000U, 1U}) {
    std::string written(size, '\n');
    for (std::size_t i = 0; i < size; i += 3) written[i] = static_cast<char>(i * i >> 3);
    LockedFile file(name, Soon());
    EXPECT_TRUE(file.Replace({written}, nullptr));
    file.FlushFolder();
    EXPECT_EQ(readUpTo(size), ReadStatus::Done) << size;
    EXPECT_TRUE(read == written) << size;
    EXPECT_NE(fs::status(name).permissions() & fs::perms::others_read, fs::perms::none);
    EXPECT_TRUE(file.State()->isSettled && file.State()->identity == state.identity);
    EXPECT_EQ(folder.FileCount(), 1);
    EXPECT_TRUE(size == 0 || readUpTo(size - 1) == ReadStatus::TooLong) << size;
  }
}

TEST(FilesTest, WhatOtherProgramsDoMeanwhileIsNoticed) {
  const TempFolder folder;
  for (const char* name : {"file", "missing"}) {
    if (*name == 'f') folder.Write(name, "old");
    LockedFile file(folder.Path() / name, Soon());
    EXPECT_EQ(file.State().has_value(), *name == 'f');
    folder.Write(name, "theirs");
    EXPECT_FALSE(file.Replace({"new"}, nullptr)) << name;
    EXPECT_EQ(folder.Read(name), "theirs");
  }
  EXPECT_EQ(folder.FileCount(), 2);
}

TEST(FilesTest, WhatMustNotBeReplacedIsRefused) {
  const TempFolder folder;
  fs::create_directory(folder.Path() / "folder");
  folder.Write("read-only", "old");
  fs::permissions(folder.Path() / "read-only", fs::perms::owner_read);
  std::vector<std::string> names{"folder", "read-only", "none/file", "read-only/below"};
#ifndef _WIN32
  ASSERT_EQ(mkfifo(folder.Name(names.emplace_back("pipe")).c_str(), S_IRUSR | S_IWUSR), 0);
#endif
  const std::ptrdiff_t count = folder.FileCount();
  for (const std::string& name : names) {
    EXPECT_THROW(LockedFile(folder.Path() / name, Soon()).Replace({"new"}, nullptr),
                 std::runtime_error)
        << name;
  }
  EXPECT_EQ(folder.Read("read-only"), "old");
  EXPECT_EQ(folder.FileCount(), count);
  fs::permissions(folder.Path() / "read-only",
                  fs::perms::owner_all); // some systems do not remove read-only files
}

} // namespace
