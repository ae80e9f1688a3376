// Replacing saves on POSIX systems: links, permissions, owners, and writers that are killed.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "platform/platform.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

void Replace(const fs::path& name, std::string_view bytes) {
  platform::ReplaceWholeFile(name.wstring().c_str(), bytes);
}

TEST(PosixFilesTest, LinksAreFollowedAndNeverReplaced) {
  const TempFolder folder;
  fs::create_directory(folder.Path() / "below");
  fs::create_symlink("below/target", folder.Path() / "inner");
  fs::create_symlink(folder.Path() / "inner", folder.Path() / "outer");
  fs::create_symlink("loop", folder.Path() / "loop");
  for (const char* bytes : {"made", "changed"}) { // at first nothing is behind the links
    Replace(folder.Path() / "outer", bytes);
    EXPECT_EQ(folder.Read("below/target"), bytes);
    EXPECT_TRUE(fs::is_symlink(folder.Path() / "outer") && fs::is_symlink(folder.Path() / "inner"));
  }
  EXPECT_THROW(Replace(folder.Path() / "loop", "new"), std::runtime_error);
}

TEST(PosixFilesTest, PermissionsAndOwnerAreTakenOverAndTheUmaskCountsForANewFile) {
  const TempFolder folder;
  const mode_t oldMask = umask(027);
  const fs::path name = folder.Path() / "file";
  Replace(name, "new");
  umask(oldMask);
  EXPECT_EQ(fs::status(name).permissions(), fs::perms{0640});
  for (const mode_t mode : {0600U, 0666U, 0751U, 06755U}) {
    EXPECT_TRUE(geteuid() != 0 || chown(name.c_str(), 1234, 4321) == 0);
    struct stat before {};
    struct stat after {};
    EXPECT_EQ(chmod(name.c_str(), mode) + stat(name.c_str(), &before), 0);
    Replace(name, "new");
    EXPECT_EQ(stat(name.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_TRUE(after.st_uid == before.st_uid && after.st_gid == before.st_gid);
  }
  // An access list, where the file system has them: version 2; entries of tag, permissions, ID. The group may do nothing.
  constexpr std::uint32_t none = 0xFFFFFFFF;
  const std::uint32_t list[] = {2, 0x60001, none, 0x60002, 1234, 0x00004, none, 0x60010, none, 0x00020, none};
  if (setxattr(name.c_str(), "system.posix_acl_access", list, sizeof list, 0) != 0) return;
  Replace(name, "new");
  std::uint32_t after[std::size(list)] = {};
  EXPECT_EQ(getxattr(name.c_str(), "system.posix_acl_access", after, sizeof after), static_cast<ssize_t>(sizeof list));
  EXPECT_EQ(std::memcmp(after, list, sizeof list), 0);
}

TEST(PosixFilesTest, WhatTheUserMayNotWriteIsRefusedThoughTheFolderAllowsIt) {
  constexpr uid_t nobody = 65534;
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  const bool isRoot = geteuid() == 0;
  // The group may write, the owner may not.
  ASSERT_EQ(chmod(folder.Path().c_str(), 0777) + chmod(name.c_str(), 0464), 0);
  ASSERT_TRUE(!isRoot || chown(name.c_str(), nobody, 0) + setegid(nobody) + seteuid(nobody) == 0);
  EXPECT_THROW(Replace(name, "new"), std::runtime_error);
  ASSERT_TRUE(!isRoot || seteuid(0) + setegid(0) == 0);
  EXPECT_EQ(folder.Read("file"), "old");

  // Nor is a pipe a file, or a name without a form in the locale, which is "C".
  ASSERT_EQ(mkfifo(folder.Name("pipe").c_str(), 0666), 0);
  for (const std::wstring& other : {(folder.Path() / "pipe").wstring(), std::wstring(L"\u03b1")}) {
    std::string bytes;
    EXPECT_THROW(platform::ReplaceWholeFile(other.c_str(), "new"), std::runtime_error);
    EXPECT_EQ(platform::ReadWholeFile(other.c_str(), SIZE_MAX, bytes), platform::ReadStatus::Unreadable);
  }
}

TEST(PosixFilesTest, AReaderSeesOneVersionWholeWheneverTheWriterIsKilled) {
  const TempFolder folder;
  const std::string versions[] = {std::string(100000, 'a'), std::string(70000, 'b')};
  const fs::path name = folder.Write("file", versions[0]);
  int seen[2] = {};
  // However busy the machine is, both versions are seen in the end.
  for (int round = 0; round < 20 || seen[0] == 0 || seen[1] == 0; ++round) {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (unsigned i = 1;; ++i) Replace(name, versions[i % 2]);
    }
    for (int reads = 0; reads <= round + 1; ++reads) {
      const std::string bytes = folder.Read("file");
      ASSERT_TRUE(bytes == versions[0] || bytes == versions[1]);
      ++seen[bytes == versions[1]];
      if (reads != round) continue; // the last one reads what a killed writer left
      ASSERT_EQ(kill(writer, SIGKILL), 0);
      ASSERT_EQ(waitpid(writer, nullptr, 0), writer);
    }
  }
}

} // namespace
