#include <chrono>

#include "platform/file_parts.h"
#include "platform/linux/file_descriptor.h"

namespace platform {

FileName AbsoluteFileName(const char* bytes, const wchar_t*) {
  std::error_code noFolder;
  FileName absolute = std::filesystem::absolute(bytes, noFolder);
  return noFolder ? FileName(bytes) : absolute;
}

std::int64_t CurrentTime() noexcept {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::shared_ptr<const Access> AccessOf(const FileStatus& status) {
  return std::make_shared<const Access>(Access{status.st_mode & accessBits});
}

// The number changes if a rename replaces the file, size and times if it is edited in place.
FileState StateOf(const FileStatus& status, std::shared_ptr<const Access> access,
                  std::optional<std::int64_t> stampedAt) noexcept {
  const auto nanoseconds = [](const timespec& time) { return time.tv_sec * second + time.tv_nsec; };
  FileState state{{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
                   nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)},
                  std::move(access)};
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
  // O_NONBLOCK: opening a pipe must not wait for its writer.
  const FileDescriptor file = OpenAt(AT_FDCWD, name.c_str(), O_RDONLY | O_NONBLOCK);
  FileStatus status{};
  const bool isKnown = file.IsOpen() && Uninterrupted(fstat, file.Number(), &status) == 0;
  if (!isKnown && errno == ENOMEM) throw std::bad_alloc();
  if (!isKnown)
    return errno == ENOENT || errno == ENOTDIR ? ReadStatus::Missing : ReadStatus::Unreadable;
  if (!S_ISREG(status.st_mode)) return ReadStatus::Unreadable;
  state = StateOf(status, AccessOf(status));
  return ReadOpenFile(file.Number(), status, limit, bytes);
}

} // namespace platform
