// Open files, their status, and locks on them.
#ifndef TARVIK_PLATFORM_LINUX_FILE_DESCRIPTOR_H
#define TARVIK_PLATFORM_LINUX_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "platform/files.h"

namespace platform {

// Unlike struct stat, it includes the time of creation.
using FileStatus = struct statx;

// Repeats a system call while signals interrupt it. Not for close(), which closes even when
// interrupted.
template <class Call, class... Arguments>
auto Uninterrupted(Call call, Arguments... arguments) noexcept {
  auto result = call(arguments...);
  while (result < 0 && errno == EINTR) result = call(arguments...);
  return result;
}

// Throws std::system_error with the step that failed and the reason given by errno; std::bad_alloc
// if the reason is lack of memory.
[[noreturn]] inline void ThrowSystemFailure(const char* step, int error = errno) {
  assert(error != 0);
  if (error == ENOMEM) throw std::bad_alloc();
  throw std::system_error(error, std::generic_category(), step);
}

// Returns the result of a system call that must succeed; throws if it fails.
template <class Call, class... Arguments>
auto CheckedCall(const char* step, Call call, Arguments... arguments) {
  const auto result = Uninterrupted(call, arguments...);
  if (result < 0) ThrowSystemFailure(step);
  return result;
}

// Owns an open file.
class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  explicit FileDescriptor(int openFile) noexcept : number(openFile) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    return *this;
  }
  ~FileDescriptor() {
    if (IsOpen()) close(number);
  }

  bool IsOpen() const noexcept { return number >= 0; }
  int Number() const noexcept { return number; }

 private:
  int number = -1;
};

// On failure the result is not open, and errno tells why.
inline FileDescriptor OpenAt(int folder, const char* name, int flags, mode_t mode = 0) noexcept {
  return FileDescriptor(Uninterrupted(openat, folder, name, flags | O_CLOEXEC, mode));
}

// Between attempts to get what another program holds.
inline constexpr auto retryPause = std::chrono::milliseconds(1);

// The same, but waits until the deadline while another program holds a lease on the file. Does not
// wait for the other end of a pipe.
FileDescriptor OpenUnleased(const FileName& name, int flags, Deadline deadline) noexcept;

// Reads the status of a name in an open folder, even if it is a link, or of an open file itself if
// the name is empty. Not 0 on failure, and errno tells why.
inline int QueryStatus(int file, const char* name, FileStatus* status) noexcept {
  constexpr int flags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW;
  return Uninterrupted(statx, file, name, flags, STATX_BASIC_STATS | STATX_BTIME, status);
}

inline bool IsSameFile(const FileStatus& left, const FileStatus& right) noexcept {
  return left.stx_ino == right.stx_ino && left.stx_dev_major == right.stx_dev_major &&
         left.stx_dev_minor == right.stx_dev_minor;
}

enum class LockResult { Locked, HeldByOthers, Unsupported, Failed };

// Covers the whole file, whatever its length.
inline int CallLock(int file, int command, struct flock& lock, short type) noexcept {
  lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return Uninterrupted(fcntl, file, command, &lock);
}

// Locks the open file description, not the process: threads exclude each other, and closing the
// file elsewhere keeps the lock. The file must be open for writing. After Failed, errno tells why.
inline LockResult TryLock(int file) noexcept {
  assert(file >= 0);
  struct flock lock {};
  if (CallLock(file, F_OFD_SETLK, lock, F_WRLCK) == 0) return LockResult::Locked;
  if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL)
    return LockResult::Unsupported;
  if (errno != EAGAIN && errno != EACCES) return LockResult::Failed;
  // A classical lock of this process belongs to the host program. Threads then exclude each other
  // by flock.
  if (CallLock(file, F_OFD_GETLK, lock, F_WRLCK) != 0 || lock.l_type == F_UNLCK ||
      lock.l_pid != getpid())
    return LockResult::HeldByOthers;
  if (Uninterrupted(flock, file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    return LockResult::HeldByOthers;
  return LockResult::Locked;
}

// Closing alone does not unlock if another thread has forked, because the new process also has the
// file open.
inline void Unlock(int file) noexcept {
  assert(file >= 0);
  struct flock lock {};
  CallLock(file, F_OFD_SETLK, lock, F_UNLCK);
}

inline constexpr std::int64_t second = 1'000'000'000; // all times here are nanoseconds since 1970

std::int64_t CurrentTime() noexcept;

FileIdentity IdentityOf(const FileStatus& status) noexcept;

// Reads from the current position to the end.
ReadStatus ReadOpenFile(int file, const FileStatus& status, std::size_t limit, std::string& bytes);

} // namespace platform

#endif
