// Reading files, and what identifies a version of one. Opening never blocks on a pipe or a device,
// which could take forever.
#include <thread>

#include "platform/file_parts.h"
#include "platform/linux/open_file.h"

namespace platform {

FileName AbsoluteFileName(const char* bytes, const wchar_t*) {
  std::error_code noFolder;
  FileName absolute = std::filesystem::absolute(bytes, noFolder);
  if (noFolder) return bytes;
  return absolute;
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

// Unlike stat, statx tells the time of creation. The number changes if a rename replaces the file,
// size and times if it is edited in place.
std::optional<FileStatus> QueryStatus(int file, const char* name) noexcept {
  constexpr int flags = AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW;
  struct statx found {};
  if (Uninterrupted(statx, file, name, flags, STATX_BASIC_STATS | STATX_BTIME, &found) != 0)
    return {};
  const auto time = [](const statx_timestamp& stamp) {
    // Unsigned, since times of files can be as far from 1970 as the numbers reach.
    const auto seconds = static_cast<std::uint64_t>(stamp.tv_sec);
    return static_cast<std::int64_t>(seconds * second + stamp.tv_nsec / 100);
  };
  const std::uint64_t device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor;
  return FileStatus{{device, found.stx_ino, found.stx_size, time(found.stx_mtime),
                     time(found.stx_ctime), time(found.stx_btime)},
                    {found.stx_uid, found.stx_gid, found.stx_mode, {}}};
}

ReadStatus ReadOpenFile(int file, std::uint64_t size, std::size_t limit, std::string& bytes) {
  const auto readSome = [file](char* buffer, std::size_t capacity) {
    const ssize_t count = Uninterrupted(read, file, buffer, capacity);
    if (count < 0 && errno == ENOMEM) throw std::bad_alloc();
    return count;
  };
  return ReadToEnd(readSome, size, limit, bytes);
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  const FileDescriptor file =
      OpenUnleased(name, O_RDONLY, std::chrono::steady_clock::now() + maxSaveWait);
  std::optional<FileStatus> status;
  if (file.IsOpen()) status = QueryStatus(file.Number());
  if (!status && errno == ENOMEM) throw std::bad_alloc();
  if (!status && (errno == ENOENT || errno == ENOTDIR)) return ReadStatus::Missing;
  if (!status || !S_ISREG(status->access.mode)) return ReadStatus::Unreadable;
  try {
    state = StateNow(status->identity, ReadAccess(file.Number(), *status));
  } catch (const std::system_error&) {
    return ReadStatus::Unreadable;
  }
  return ReadOpenFile(file.Number(), status->identity.size, limit, bytes);
}

} // namespace platform
