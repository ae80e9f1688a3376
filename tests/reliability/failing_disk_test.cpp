// Every system call of an opening and a save fails in turn, with each kind of error: the code is the promised one, the file is the
// old one or the new one, whole, nothing else stays, and the same call works the next time. The linker leads the calls here.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>

#include "support/open_document.h"

namespace {

bool isArmed = false;
std::vector<std::string> calls; // while it is armed
std::size_t failing = 0;        // the number of the call that fails, from 1
int failure = 0;
constexpr std::size_t longestTransfer = 7; // bytes that are read or written at once

bool Fails(const char* name) {
  if (!isArmed) return false;
  calls.emplace_back(name);
  errno = failure;
  return calls.size() == failing;
}

} // namespace

// The build reads the names from here.
#define SYSTEM_CALL(name, Result, parameters, arguments) \
  extern "C" Result __real_##name parameters;            \
  extern "C" Result __wrap_##name parameters { return Fails(#name) ? -1 : __real_##name arguments; }
SYSTEM_CALL(openat, int, (int folder, const char* name, int flags, mode_t mode), (folder, name, flags, mode))
SYSTEM_CALL(fstat, int, (int file, struct stat* status), (file, status))
SYSTEM_CALL(fstatat, int, (int folder, const char* name, struct stat* s, int flags), (folder, name, s, flags))
SYSTEM_CALL(readlinkat, ssize_t, (int folder, const char* name, char* to, std::size_t size), (folder, name, to, size))
SYSTEM_CALL(fcntl, int, (int file, int command, struct flock* lock), (file, command, lock))
SYSTEM_CALL(read, ssize_t, (int file, void* bytes, std::size_t size), (file, bytes, std::min(size, longestTransfer)))
SYSTEM_CALL(write, ssize_t, (int file, const void* bytes, std::size_t size),
            (file, bytes, std::min(size, longestTransfer)))
SYSTEM_CALL(futimens, int, (int file, const timespec* times), (file, times))
SYSTEM_CALL(flistxattr, ssize_t, (int file, char* names, std::size_t size), (file, names, size))
SYSTEM_CALL(fgetxattr, ssize_t, (int file, const char* name, void* to, std::size_t size), (file, name, to, size))
SYSTEM_CALL(fsetxattr, int, (int file, const char* name, const void* from, std::size_t size, int flags),
            (file, name, from, size, flags))
SYSTEM_CALL(fremovexattr, int, (int file, const char* name), (file, name))
SYSTEM_CALL(fchown, int, (int file, uid_t owner, gid_t group), (file, owner, group))
SYSTEM_CALL(fchmod, int, (int file, mode_t mode), (file, mode))
SYSTEM_CALL(fsync, int, (int file), (file))
SYSTEM_CALL(getrandom, ssize_t, (void* to, std::size_t size, unsigned flags), (to, size, flags))
SYSTEM_CALL(linkat, int, (int from, const char* name, int to, const char* target, int flags),
            (from, name, to, target, flags))
SYSTEM_CALL(renameat, int, (int from, const char* name, int to, const char* target), (from, name, to, target))
SYSTEM_CALL(unlinkat, int, (int folder, const char* name, int flags), (folder, name, flags))

namespace {

constexpr const char* before = "<R><A>1</A></R>";
constexpr const char* byHand = "<R><A>1</A><B/></R>";

std::uint32_t Open(TestDocument& document) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  const std::uint32_t code = OpenXML(list, document.Name().c_str(), 4, 0, &cookie);
  EndXMLList(&list);
  return code;
}
std::uint32_t Set(TestDocument& document) { return document.SetText("", "A", "new"); }

std::string BytesOf(const TestDocument& document) {
  return std::filesystem::exists(document.Name()) ? document.Bytes() : "gone";
}

const struct {
  const char* name;
  void (*prepare)(TestDocument&);
  std::uint32_t (*call)(TestDocument&);
  const char* after;
} works[] = {
    {"open", [](TestDocument&) {}, Open, before},
    {"save", [](TestDocument&) {}, Set, "<R><A>new</A></R>"},
    {"save of another's file, with attributes, behind a link",
     [](TestDocument& document) {
       const std::string target = document.Name() + ".target";
       std::filesystem::rename(document.Name(), target);
       std::filesystem::create_symlink(target, document.Name());
       setxattr(target.c_str(), "user.of-mine", "v", 1, 0);
       if (chown(target.c_str(), 1234, 4321) != 0) return; // only root may
     },
     Set, "<R><A>new</A></R>"},
    {"merge", [](TestDocument& document) { document.Write(byHand); }, Set, "<R><A>new</A><B/></R>"},
    {"made anew", [](TestDocument& document) { std::filesystem::remove(document.Name()); }, Set, "<R><A>new</A></R>"},
};

// Gives whether the call was reached that was to fail.
bool RunWith(const decltype(works[0])& work, std::size_t number, int error) {
  TestDocument document(before);
  EXPECT_EQ(document.Save(), 0U); // its file is as it was left
  work.prepare(document);
  const std::string old = BytesOf(document);
  const std::ptrdiff_t oldFiles = document.FilesInFolder();
  calls.clear();
  failing = number;
  failure = error;
  isArmed = true;
  const std::uint32_t code = work.call(document);
  isArmed = false;
  const bool fired = calls.size() >= number;
  const std::string failed = fired ? calls[number - 1] : "none";
  SCOPED_TRACE(testing::Message() << work.name << ", call " << number << ", " << failed << ": " << strerror(error));
  if (work.call == Open) {
    EXPECT_TRUE(code == 0 || (fired && error != EINTR && (code == 42 || (code == 5 && error == ENOENT)))) << code;
  } else {
    EXPECT_TRUE(code == 0 || (fired && error != EINTR && code == 34)) << code;
  }
  // The second flush is the folder's.
  const bool isInPlace = code == 0 || (failed == "fsync" && std::ranges::count(calls, failed) == 2);
  EXPECT_EQ(BytesOf(document), isInPlace ? work.after : old);
  EXPECT_EQ(document.FilesInFolder(), std::max<std::ptrdiff_t>(oldFiles, isInPlace ? 1 : 0));
  EXPECT_EQ(work.call(document), 0U);
  EXPECT_EQ(document.Bytes(), work.after);
  return fired;
}

TEST(FailingDisk, LeavesTheOldFileOrTheNewOneWhicheverCallFails) {
  for (const auto& work : works) {
    for (const int error : {EINTR, EIO, EACCES, ENOENT, ENOSPC, EOPNOTSUPP, EEXIST, EAGAIN}) {
      std::size_t number = 1;
      while (RunWith(work, number, error) && !HasFailure()) ++number;
      ASSERT_GT(number, 4U) << "no call was reached";
    }
  }
}

TEST(FailingDisk, FlushesTheFileBeforeItIsNamedAndTheFolderAfterIt) {
  ASSERT_FALSE(RunWith(works[1], 1000, 0));
  std::erase_if(calls,
                [](const std::string& name) { return name != "fsync" && name != "linkat" && name != "renameat"; });
  EXPECT_EQ(calls, (std::vector<std::string>{"fsync", "linkat", "renameat", "fsync"}));
}

} // namespace
