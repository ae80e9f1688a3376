// Reading files, and what identifies a version of one. Opening never blocks on a pipe or a device,
// which could take forever.
#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/file_parts.h"
#include "platform/linux/access.h"

namespace platform {
namespace {

// Times too far from 1970 to be counted in nanoseconds become the farthest possible.
std::int64_t Nanoseconds(std::int64_t seconds, std::int64_t rest) noexcept {
  constexpr std::int64_t maxSeconds = INT64_MAX / second - 1;
  return std::clamp(seconds, -maxSeconds, maxSeconds) * second + rest;
}

} // namespace

FileName AbsoluteFileName(const char* bytes, const wchar_t*) {
  std::error_code noFolder;
  FileName absolute = std::filesystem::absolute(bytes, noFolder);
  if (noFolder) return bytes;
  return absolute;
}

std::int64_t CurrentTime() noexcept {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

FileDescriptor OpenUnleased(const FileName& name, int flags, Deadline deadline) noexcept {
  for (;; std::this_thread::sleep_for(retryPause)) {
    FileDescriptor file = OpenAt(AT_FDCWD, name.c_str(), flags | O_NONBLOCK);
    if (file.IsOpen() || errno != EWOULDBLOCK) return file;
    std::error_code unknown;
    const bool isFile = std::filesystem::is_regular_file(name, unknown);
    if (isFile && std::chrono::steady_clock::now() < deadline) continue;
    errno = EWOULDBLOCK;
    return file;
  }
}

// The number changes if a rename replaces the file, size and times if it is edited in place.
FileIdentity IdentityOf(const FileStatus& status) noexcept {
  const auto device = std::uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor;
  const auto time = [](const statx_timestamp& stamp) {
    return Nanoseconds(stamp.tv_sec, stamp.tv_nsec);
  };
  return {device,
          status.stx_ino,
          status.stx_size,
          time(status.stx_mtime),
          time(status.stx_ctime),
          time(status.stx_btime)};
}

ReadStatus ReadOpenFile(int file, const FileStatus& status, std::size_t limit, std::string& bytes) {
  const auto readSome = [file](char* buffer, std::size_t size) {
    const ssize_t count = Uninterrupted(read, file, buffer, size);
    if (count < 0 && errno == ENOMEM) throw std::bad_alloc();
    return count;
  };
  return ReadToEnd(readSome, status.stx_size, limit, bytes);
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  const FileDescriptor file =
      OpenUnleased(name, O_RDONLY, std::chrono::steady_clock::now() + maxSaveWait);
  FileStatus status{};
  const bool isKnown = file.IsOpen() && QueryStatus(file.Number(), "", &status) == 0;
  if (!isKnown && errno == ENOMEM) throw std::bad_alloc();
  const bool isMissing = !isKnown && (errno == ENOENT || errno == ENOTDIR);
  if (isMissing) return ReadStatus::Missing;
  if (!isKnown || !S_ISREG(status.stx_mode)) return ReadStatus::Unreadable;
  try {
    state = StateAt(CurrentTime(), second, IdentityOf(status), ReadAccess(file.Number(), status));
  } catch (const std::system_error&) {
    return ReadStatus::Unreadable;
  }
  return ReadOpenFile(file.Number(), status, limit, bytes);
}

} // namespace platform
