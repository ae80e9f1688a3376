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
    FileStatus status{};
    const bool isFile =
        Uninterrupted(fstatat, AT_FDCWD, name.c_str(), &status, 0) == 0 && S_ISREG(status.st_mode);
    if (isFile && std::chrono::steady_clock::now() < deadline) continue;
    errno = EWOULDBLOCK;
    return file;
  }
}

// The number changes if a rename replaces the file, size and times if it is edited in place.
FileIdentity IdentityOf(const FileStatus& status) noexcept {
  return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
          Nanoseconds(status.st_mtim.tv_sec, status.st_mtim.tv_nsec),
          Nanoseconds(status.st_ctim.tv_sec, status.st_ctim.tv_nsec)};
}

FileState StateOf(int file, const FileStatus& status, std::shared_ptr<const Access> access,
                  std::optional<std::int64_t> stampedAt) noexcept {
  FileState state{IdentityOf(status), std::move(access)};
  struct statx more {};
  const int result = Uninterrupted(statx, file, "", AT_EMPTY_PATH, STATX_BTIME, &more);
  if (result == 0 && (more.stx_mask & STATX_BTIME) != 0)
    state.identity.created = Nanoseconds(more.stx_btime.tv_sec, more.stx_btime.tv_nsec);
  state.isSettled = IsSettled(state.identity, stampedAt, CurrentTime(), second);
  state.isYoung = IsYoung(state.identity, CurrentTime(), second);
  return state;
}

ReadStatus ReadOpenFile(int file, const FileStatus& status, std::size_t limit, std::string& bytes) {
  const auto readSome = [file](char* buffer, std::size_t size) {
    const ssize_t count = Uninterrupted(read, file, buffer, size);
    if (count < 0 && errno == ENOMEM) throw std::bad_alloc();
    return count;
  };
  return ReadToEnd(readSome, static_cast<std::uint64_t>(status.st_size), limit, bytes);
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  const FileDescriptor file =
      OpenUnleased(name, O_RDONLY, std::chrono::steady_clock::now() + maxSaveWait);
  FileStatus status{};
  const bool isKnown = file.IsOpen() && Uninterrupted(fstat, file.Number(), &status) == 0;
  if (!isKnown && errno == ENOMEM) throw std::bad_alloc();
  if (!isKnown && (errno == ENOENT || errno == ENOTDIR)) return ReadStatus::Missing;
  if (!isKnown || !S_ISREG(status.st_mode)) return ReadStatus::Unreadable;
  try {
    state = StateOf(file.Number(), status,
                    std::make_shared<const Access>(ReadAccess(file.Number(), status)));
  } catch (const std::system_error&) {
    return ReadStatus::Unreadable;
  }
  return ReadOpenFile(file.Number(), status, limit, bytes);
}

} // namespace platform
