#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "platform/platform.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/file_name.h"

namespace platform {
namespace {

ReadStatus StatusOf(int error) noexcept {
  return error == ENOENT || error == ENOTDIR ? ReadStatus::Missing : ReadStatus::Unreadable;
}

ssize_t ReadSome(const FileDescriptor& file, char* buffer, std::size_t size) noexcept {
  ssize_t count = 0;
  do {
    count = read(file.Number(), buffer, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

// Goes through a small buffer that is used again and again: growing the string to its length first would fill all of it
// with zeros, so that fresh memory is touched twice.
ReadStatus ReadUntilEnd(const FileDescriptor& file, std::size_t expected, std::size_t limit, std::string& bytes) {
  char buffer[16'384];
  bytes.clear();
  bytes.reserve(expected);
  PreferLargePages(bytes.data(), expected);
  for (;;) {
    const ssize_t count = ReadSome(file, buffer, sizeof buffer);
    if (count < 0) return ReadStatus::Unreadable;
    if (count == 0) return ReadStatus::Done;
    if (static_cast<std::size_t>(count) > limit - bytes.size()) return ReadStatus::TooLong;
    bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

} // namespace

ReadStatus ReadWholeFile(const wchar_t* name, std::size_t limit, std::string& bytes) {
  std::string narrowName;
  if (!NarrowFileName(name, narrowName)) return ReadStatus::Unreadable;

  // Opening a pipe must not wait for its writer.
  const FileDescriptor file(open(narrowName.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) return StatusOf(errno);
  struct stat status {};
  if (fstat(file.Number(), &status) != 0 || !S_ISREG(status.st_mode)) return ReadStatus::Unreadable;

  const std::size_t mostBytes = std::min(limit, bytes.max_size());
  if (static_cast<std::uintmax_t>(status.st_size) > mostBytes) return ReadStatus::TooLong;
  return ReadUntilEnd(file, static_cast<std::size_t>(status.st_size), mostBytes, bytes);
}

} // namespace platform
