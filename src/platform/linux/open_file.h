// Open files: their status, who may access them, and locks on them.
#ifndef TARVIK_PLATFORM_LINUX_OPEN_FILE_H
#define TARVIK_PLATFORM_LINUX_OPEN_FILE_H

#include <fcntl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "platform/files.h"

namespace platform {

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
  FileDescriptor(FileDescriptor&& other) noexcept { *this = std::move(other); }
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number, other.number);
    std::swap(isLocked, other.isLocked);
    return *this;
  }
  ~FileDescriptor() {
    // Closing alone does not unlock if another thread has forked, because the new process also has
    // the file open.
    struct flock wholeFile {};
    wholeFile.l_type = F_UNLCK;
    if (isLocked) Uninterrupted(fcntl, number, F_OFD_SETLK, &wholeFile);
    if (IsOpen()) close(number);
  }

  bool IsOpen() const noexcept { return number >= 0; }
  bool IsLocked() const noexcept { return isLocked; }
  int Number() const noexcept { return number; }

  // Locks the open file description, not the process: threads exclude each other, and closing the
  // file elsewhere keeps the lock. The file must be open for writing. False on failure, and errno
  // tells why: EAGAIN if another program holds the lock. On a file system without locks, true with
  // nothing locked.
  bool TryLock() noexcept;

 private:
  int number = -1;
  bool isLocked = false;
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

struct Access {
  uid_t owner = 0;
  gid_t group = 0;
  mode_t mode = 0; // with or without the file type
  // Empty if the mode says all. Otherwise it has a mask, and the mode takes the place of what it
  // says about owner, mask and others.
  std::vector<posix_acl_xattr_entry> list;
};

struct FileStatus {
  FileIdentity identity;
  Access access; // without the list
};

// Reads the status of a name in an open folder, even if it is a link, or of an open file itself if
// the name is empty. Nothing on failure, and errno tells why.
std::optional<FileStatus> QueryStatus(int file, const char* name = "") noexcept;

// The complete access to an open file. Throws std::system_error or std::bad_alloc.
std::shared_ptr<const Access> ReadAccess(int file, const FileStatus& status);

// Gives an open file that this process has just created, and whose status is known, that access,
// and returns what it got. What this process may not give is left out in such a way that nobody
// gets more than `wanted` says. If `ownerLosesNothing`, throws if the file gets another owner than
// wanted and the wanted one would have less access than as the owner. Throws std::system_error or
// std::bad_alloc.
std::shared_ptr<const Access> GiveAccess(int file, const FileStatus& status, const Access& wanted,
                                         bool ownerLosesNothing);

// Copies the security label and the user's attributes of an open file to another. Throws
// std::system_error or std::bad_alloc.
void CopyAttributes(int original, int copy);

// Reads from the current position to the end of a file of about that size.
ReadStatus ReadOpenFile(int file, std::uint64_t size, std::size_t limit, std::string& bytes);

} // namespace platform

#endif
