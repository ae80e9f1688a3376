// Replacing saves that fail at each of their steps, are killed, or meet links, owners and modes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/platform.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

// What the system calls do, which the linker leads here first.
std::string_view failingStep; // fails once
int failure = 0;
bool writesLittle = false; // short writes and interruptions in turn

bool Fails(std::string_view step) {
  if (step != failingStep) return false;
  failingStep = {};
  errno = failure;
  return true;
}

} // namespace

extern "C" {
int __real_open(const char* name, int flags, mode_t mode);
ssize_t __real_write(int file, const void* bytes, std::size_t size);
int __real_fchmod(int file, mode_t mode);
int __real_fsync(int file);
int __real_close(int file);
int __real_rename(const char* from, const char* to);

int __wrap_open(const char* name, int flags, mode_t mode) {
  return Fails("open") ? -1 : __real_open(name, flags, mode);
}
ssize_t __wrap_write(int file, const void* bytes, std::size_t size) {
  static int calls = 0;
  if (Fails("write")) return -1;
  if (!writesLittle) return __real_write(file, bytes, size);
  if (++calls % 2 == 0) {
    errno = EINTR;
    return -1;
  }
  return __real_write(file, bytes, std::min<std::size_t>(size, 1000));
}
int __wrap_fchmod(int file, mode_t mode) { return Fails("fchmod") ? -1 : __real_fchmod(file, mode); }
int __wrap_fsync(int file) { return Fails("fsync") ? -1 : __real_fsync(file); }
int __wrap_close(int file) {
  const int result = __real_close(file);
  return Fails("close") ? -1 : result;
}
int __wrap_rename(const char* from, const char* to) { return Fails("rename") ? -1 : __real_rename(from, to); }
}

namespace {

void Replace(const fs::path& name, std::string_view bytes) {
  platform::ReplaceWholeFile(name.wstring().c_str(), bytes);
}

std::size_t EntryCount(const fs::path& folder) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

struct stat StatusOf(const fs::path& name) {
  struct stat status {};
  EXPECT_EQ(lstat(name.c_str(), &status), 0) << name;
  return status;
}

TEST(ReplaceFileTest, AFailureAtAnyStepLeavesTheOldFileAndNothingElse) {
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  const std::size_t filesOpen = EntryCount("/proc/self/fd");
  const struct {
    const char* step;
    int error;
  } cases[] = {{"open", EACCES}, {"write", ENOSPC}, {"fchmod", EPERM},
               {"fsync", EIO},   {"close", EDQUOT}, {"rename", EBUSY}};
  for (const auto& each : cases) {
    failingStep = each.step;
    failure = each.error;
    try {
      Replace(name, "new");
      ADD_FAILURE() << each.step;
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::strstr(error.what(), std::strerror(each.error)), nullptr) << error.what();
    }
    EXPECT_EQ(folder.Read("file"), "old") << each.step;
    EXPECT_EQ(EntryCount(folder.Path()), 1U) << each.step;
    EXPECT_EQ(EntryCount("/proc/self/fd"), filesOpen) << each.step;
  }
}

TEST(ReplaceFileTest, ADiskThatFillsUpLeavesTheOldFileAndAnInterruptedWriteGoesOn) {
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  const std::string bytes(100000, 'n');
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit full{50000, before.rlim_max};
  std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
  EXPECT_THROW(Replace(name, bytes), std::runtime_error);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_EQ(folder.Read("file"), "old");
  EXPECT_EQ(EntryCount(folder.Path()), 1U);

  writesLittle = true;
  Replace(name, bytes);
  writesLittle = false;
  EXPECT_TRUE(folder.Read("file") == bytes);
}

TEST(ReplaceFileTest, LinksAreFollowedAndNeverReplaced) {
  const TempFolder folder;
  fs::create_directory(folder.Path() / "below");
  fs::create_symlink("below/target", folder.Path() / "inner");
  fs::create_symlink(folder.Path() / "inner", folder.Path() / "outer");
  fs::create_symlink("loop", folder.Path() / "loop");
  // At first nothing is behind the links, then a file.
  for (const char* bytes : {"made", "changed"}) {
    Replace(folder.Path() / "outer", bytes);
    EXPECT_EQ(folder.Read("below/target"), bytes);
    EXPECT_TRUE(S_ISLNK(StatusOf(folder.Path() / "outer").st_mode));
    EXPECT_TRUE(S_ISLNK(StatusOf(folder.Path() / "inner").st_mode));
  }
  EXPECT_THROW(Replace(folder.Path() / "loop", "new"), std::runtime_error);
  EXPECT_EQ(EntryCount(folder.Path()), 4U);
}

TEST(ReplaceFileTest, ModeAndOwnerAreTakenOverAndTheUmaskCountsForANewFile) {
  const TempFolder folder;
  const bool isRoot = geteuid() == 0;
  const fs::path name = folder.Write("file", "old");
  for (const mode_t mode : {0600U, 0644U, 0666U, 0751U, 06755U}) {
    if (isRoot) {
      ASSERT_EQ(chown(name.c_str(), 1234, 4321), 0);
    }
    ASSERT_EQ(chmod(name.c_str(), mode), 0);
    const struct stat before = StatusOf(name);
    Replace(name, "new");
    const struct stat after = StatusOf(name);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
  }

  const mode_t oldMask = umask(027);
  Replace(folder.Path() / "new", "new");
  umask(oldMask);
  EXPECT_EQ(StatusOf(folder.Path() / "new").st_mode & 07777, 0640U);
}

TEST(ReplaceFileTest, TheAccessListIsTakenOver) {
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  // Version 2; entries of tag, permissions, ID: owner and user 1234 may read and write, the group and others nothing.
  constexpr std::uint32_t none = 0xFFFFFFFF;
  const std::uint32_t list[] = {2, 0x60001, none, 0x60002, 1234, 0x00004, none, 0x60010, none, 0x00020, none};
  if (setxattr(name.c_str(), "system.posix_acl_access", list, sizeof list, 0) != 0) {
    GTEST_SKIP() << "the temporary folder's file system has no access lists";
  }
  Replace(name, "new");
  std::uint32_t after[std::size(list)] = {};
  EXPECT_EQ(getxattr(name.c_str(), "system.posix_acl_access", after, sizeof after), static_cast<ssize_t>(sizeof list));
  EXPECT_EQ(std::memcmp(after, list, sizeof list), 0);
}

TEST(ReplaceFileTest, WhatTheUserMayNotWriteIsRefusedThoughTheFolderAllowsIt) {
  constexpr uid_t nobody = 65534;
  const TempFolder folder;
  const fs::path name = folder.Write("file", "old");
  ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
  ASSERT_EQ(chmod(name.c_str(), 0464), 0); // the group may write, the owner may not
  const bool isRoot = geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(chown(name.c_str(), nobody, 0), 0);
    ASSERT_EQ(setegid(nobody), 0);
    ASSERT_EQ(seteuid(nobody), 0);
  }
  EXPECT_THROW(Replace(name, "new"), std::runtime_error);
  if (isRoot) {
    ASSERT_EQ(seteuid(0), 0);
    ASSERT_EQ(setegid(0), 0);
  }
  EXPECT_EQ(folder.Read("file"), "old");

  const fs::path pipe = folder.Path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
  std::string bytes;
  EXPECT_THROW(Replace(pipe, "new"), std::runtime_error);
  EXPECT_EQ(platform::ReadWholeFile(pipe.wstring().c_str(), SIZE_MAX, bytes), platform::ReadStatus::Unreadable);
  EXPECT_EQ(EntryCount(folder.Path()), 2U);
}

TEST(ReplaceFileTest, ANameWithoutAFormInTheLocaleIsNoFile) {
  std::string bytes; // the locale is "C" unless set
  EXPECT_EQ(platform::ReadWholeFile(L"\x3B1", SIZE_MAX, bytes), platform::ReadStatus::Unreadable);
  EXPECT_THROW(platform::ReplaceWholeFile(L"\x3B1", "new"), std::runtime_error);
}

// The file is read all the while, and read again when its writer was killed.
TEST(ReplaceFileTest, AReaderSeesOneVersionWholeWheneverTheWriterIsKilled) {
  const TempFolder folder;
  const std::string versions[] = {std::string(100000, 'a'), std::string(70000, 'b')};
  const fs::path name = folder.Write("file", versions[0]);
  // The version's letter, or 0 when what was read is none.
  const auto readVersion = [&] {
    std::string bytes;
    const platform::ReadStatus status = platform::ReadWholeFile(name.wstring().c_str(), SIZE_MAX, bytes);
    const bool isWhole = status == platform::ReadStatus::Done && (bytes == versions[0] || bytes == versions[1]);
    return isWhole ? bytes[0] : '\0';
  };
  for (int round = 0; round < 40; ++round) {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (unsigned i = 0;; ++i) Replace(name, versions[i % 2]);
    }
    for (int reads = 0; reads <= round; ++reads) EXPECT_NE(readVersion(), '\0');
    // The first writer lives until both versions were seen, however busy the machine is.
    for (const char version : {'b', 'a'}) {
      while (round == 0 && readVersion() != version) ASSERT_EQ(waitpid(writer, nullptr, WNOHANG), 0);
    }
    ASSERT_EQ(kill(writer, SIGKILL), 0);
    ASSERT_EQ(waitpid(writer, nullptr, 0), writer);
    EXPECT_NE(readVersion(), '\0');
  }
}

} // namespace
