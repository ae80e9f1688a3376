// Open files and their status.
#ifndef TARVIK_PLATFORM_LINUX_FILE_DESCRIPTOR_H
#define TARVIK_PLATFORM_LINUX_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "platform/files.h"

namespace platform {

using FileStatus = struct stat;

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

inline constexpr std::int64_t second = 1'000'000'000; // all times here are nanoseconds since 1970

std::int64_t CurrentTime() noexcept;

// The time of creation is left out.
FileIdentity IdentityOf(const FileStatus& status) noexcept;

// The state of an open file; stampedAt: the modification time that was set, if any.
FileState StateOf(int file, const FileStatus& status, std::shared_ptr<const Access> access,
                  std::optional<std::int64_t> stampedAt = std::nullopt) noexcept;

// Reads from the current position to the end.
ReadStatus ReadOpenFile(int file, const FileStatus& status, std::size_t limit, std::string& bytes);

} // namespace platform

#endif
