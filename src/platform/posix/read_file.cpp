#include <algorithm>
#include <ctime>
#include <system_error>

#include "platform/files.h"
#include "platform/platform.h"
#include "platform/posix/file_descriptor.h"

namespace platform {
namespace {

constexpr std::int64_t second = 1'000'000'000; // in nanoseconds

std::int64_t Nanoseconds(const timespec& time) noexcept { return time.tv_sec * second + time.tv_nsec; }

ReadStatus StatusOf(int error) noexcept {
  return error == ENOENT || error == ENOTDIR ? ReadStatus::Missing : ReadStatus::Unreadable;
}

} // namespace

FileName AbsoluteFileName(const char* bytes, const wchar_t*) {
  std::error_code noFolder;
  FileName absolute = std::filesystem::absolute(bytes, noFolder);
  return noFolder ? FileName(bytes) : absolute;
}

FileState StateOf(const FileStatus& status, const timespec* stampedAt) noexcept {
  constexpr std::int64_t coarsestClock = 2 * second;
  constexpr mode_t permissionBits = 0777;
  FileState state{{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
                   Nanoseconds(status.st_mtim), Nanoseconds(status.st_ctim)},
                  status.st_mode & permissionBits};
  if (stampedAt != nullptr) {
    state.isSettled = state.identity.modified == Nanoseconds(*stampedAt);
    return state;
  }
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  state.isSettled = std::max(state.identity.modified, state.identity.changed) + coarsestClock <= Nanoseconds(now);
  return state;
}

// Goes through a small buffer that is used again and again: growing the string to its length first would fill all of it
// with zeros, so that fresh memory is touched twice.
ReadStatus ReadOpenFile(int file, const FileStatus& status, std::size_t limit, std::string& bytes) {
  const std::size_t mostBytes = std::min(limit, bytes.max_size());
  if (static_cast<std::uintmax_t>(status.st_size) > mostBytes) return ReadStatus::TooLong;
  const auto expected = static_cast<std::size_t>(status.st_size);
  char buffer[16'384];
  bytes.clear();
  bytes.reserve(expected);
  PreferLargePages(bytes.data(), expected);
  for (;;) {
    const ssize_t count = Uninterrupted([&] { return read(file, buffer, sizeof buffer); });
    if (count < 0) return ReadStatus::Unreadable;
    if (count == 0) return ReadStatus::Done;
    if (static_cast<std::size_t>(count) > mostBytes - bytes.size()) return ReadStatus::TooLong;
    bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes, FileState& state) {
  // Opening a pipe must not wait for its writer.
  const FileDescriptor file(OpenAt(AT_FDCWD, name.c_str(), O_RDONLY | O_NONBLOCK));
  if (!file.IsOpen()) return StatusOf(errno);
  FileStatus status{};
  const int result = Uninterrupted([&] { return fstat(file.Number(), &status); });
  if (result != 0 || !S_ISREG(status.st_mode)) return ReadStatus::Unreadable;
  state = StateOf(status);
  return ReadOpenFile(file.Number(), status, limit, bytes);
}

} // namespace platform
