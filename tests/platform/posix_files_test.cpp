// Replacing saves on POSIX systems: links, locks, what the new file takes over, and writers that are killed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <thread>

#include "platform/files.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

void Replace(const fs::path& name, std::string_view bytes, std::uint32_t permissions = 0640) {
  platform::LockedFile file(name);
  EXPECT_TRUE(file.Replace(bytes, permissions));
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

// Takes a lock, lets the work run for a while, and gives the lock back.
void WhileLocked(const fs::path& name, int command, std::chrono::milliseconds while_) {
  const int file = open(name.c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  EXPECT_EQ(fcntl(file, command, &lock), 0);
  std::this_thread::sleep_for(while_);
  close(file);
}

TEST(PosixFilesTest, ALockIsWaitedForUnlessItIsTheProcesssOwn) {
  using std::chrono::milliseconds;
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  const auto timeToReplace = [&](int command, milliseconds held) {
    std::thread holder([&] { WhileLocked(name, command, held); });
    std::this_thread::sleep_for(milliseconds(50));
    const auto start = std::chrono::steady_clock::now();
    try {
      Replace(name, "new");
    } catch (const std::system_error&) {
    }
    const auto end = std::chrono::steady_clock::now();
    holder.join();
    return end - start;
  };
  EXPECT_LT(timeToReplace(F_SETLK, milliseconds(500)), milliseconds(300)) << "the process's own";
  EXPECT_GT(timeToReplace(F_OFD_SETLK, milliseconds(500)), milliseconds(300));
  EXPECT_EQ(folder.Read("file"), "new");
  folder.Write("file", "old");
  EXPECT_GT(timeToReplace(F_OFD_SETLK, milliseconds(11'000)), milliseconds(9'000));
  EXPECT_EQ(folder.Read("file"), "old");
  // Another process's lock of the classical kind.
  const pid_t holder = fork();
  if (holder == 0) {
    WhileLocked(name, F_SETLK, milliseconds(300));
    _exit(0);
  }
  std::this_thread::sleep_for(milliseconds(100));
  Replace(name, "new");
  EXPECT_EQ(waitpid(holder, nullptr, WNOHANG), holder) << "it was not waited for";
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

TEST(PosixFilesTest, AReaderSeesOneVersionWholeWheneverTheWriterIsKilled) {
  const TempFolder folder;
  const std::string versions[] = {std::string(100000, 'a'), std::string(70000, 'b')};
  const fs::path name = folder.Write("file", versions[0]);
  int seen[2] = {};
  int round = 0;
  // However busy the machine is, both versions are seen in the end.
  for (; round < 20 || seen[0] == 0 || seen[1] == 0; ++round) {
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
  // Only who died between giving the new file a name and renaming it left one.
  EXPECT_LE(folder.FileCount(), 1 + round / 4);
}

} // namespace
