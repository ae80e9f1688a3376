// Replacing saves on POSIX systems: links, and what the new file takes over.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstring>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

void Replace(const fs::path& name, std::string_view bytes, std::uint32_t permissions = 0640) {
  platform::LockedFile file(name);
  EXPECT_TRUE(file.Replace({bytes}, permissions));
  file.FlushFolder();
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

// Access lists, as the system keeps them: version 2; entries of tag, permissions, ID. The group may do nothing, another may all.
constexpr std::uint32_t none = 0xFFFFFFFF;
constexpr std::uint32_t list[] = {2, 0x60001, none, 0x70002, 1234, 0x00004, none, 0x70010, none, 0x00020, none};

bool HasList(const fs::path& name, const char* attribute) {
  std::uint32_t found[std::size(list)] = {};
  return getxattr(name.c_str(), attribute, found, sizeof found) == sizeof list &&
         std::memcmp(found, list, sizeof list) == 0;
}

TEST(PosixFilesTest, WhoMayDoWhatIsTakenOver) {
  const TempFolder folder;
  const fs::path name = folder.Path() / "file";
  // What the folder would give its new files, where the file system has access lists, must not open up this one.
  const bool hasLists = setxattr(folder.Path().c_str(), "system.posix_acl_default", list, sizeof list, 0) == 0;
  const mode_t oldMask = umask(077);
  for (const mode_t mode : {0640U, 0600U, 0666U, 0751U, 06755U}) {
    struct stat before {};
    struct stat after {};
    if (fs::exists(name)) {
      EXPECT_TRUE(geteuid() != 0 || chown(name.c_str(), 1234, 4321) == 0);
      EXPECT_EQ(chmod(name.c_str(), mode) + stat(name.c_str(), &before), 0);
    }
    Replace(name, "new", 0640);
    EXPECT_EQ(stat(name.c_str(), &after), 0);
    EXPECT_EQ(after.st_mode & 07777, mode);
    EXPECT_LT(getxattr(name.c_str(), "system.posix_acl_access", nullptr, 0), 0);
    if (before.st_ino == 0) continue;
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_TRUE(after.st_uid == before.st_uid && after.st_gid == before.st_gid);
  }
  umask(oldMask);
  const bool hasAttributes = setxattr(name.c_str(), "user.of-mine", list, sizeof list, 0) == 0;
  if (hasLists) setxattr(name.c_str(), "system.posix_acl_access", list, sizeof list, 0);
  Replace(name, "new");
  EXPECT_TRUE(!hasLists || HasList(name, "system.posix_acl_access"));
  EXPECT_TRUE(!hasAttributes || HasList(name, "user.of-mine"));
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

  // Nor is a pipe a file.
  ASSERT_EQ(mkfifo(folder.Name("pipe").c_str(), 0666), 0);
  std::string bytes;
  platform::FileState state;
  EXPECT_THROW(Replace(folder.Name("pipe"), "new"), std::runtime_error);
  EXPECT_EQ(platform::ReadWholeFile(folder.Name("pipe"), SIZE_MAX, bytes, state), platform::ReadStatus::Unreadable);
}

} // namespace
