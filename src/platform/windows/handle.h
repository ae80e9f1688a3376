// Open files and their status.
#ifndef TARVIK_PLATFORM_WINDOWS_HANDLE_H
#define TARVIK_PLATFORM_WINDOWS_HANDLE_H

#include <windows.h>

#include <algorithm>
#include <system_error>

#include "platform/files.h"

namespace platform {

// Throws std::system_error with the step that failed and the system's error number.
[[noreturn]] inline void ThrowSystemFailure(const char* step, DWORD error = GetLastError()) {
  throw std::system_error(static_cast<int>(error), std::system_category(), step);
}

struct HandleCloser {
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

// Calls that fail return either null or INVALID_HANDLE_VALUE.
inline Handle MakeHandle(HANDLE opened) noexcept {
  if (opened == INVALID_HANDLE_VALUE) return nullptr;
  return Handle(opened);
}

// Whether the last call on a file failed because another program is using the file. Access is also
// denied while a file is being deleted; only the system's inner error tells that from a denial that
// stays.
bool IsInUse() noexcept;

// Repeats a call while another program is using the file, for up to about a second and a half.
// Virus scanners, indexers and other writers hold files briefly. False on failure, and GetLastError
// tells why.
template <class Call, class Test>
bool RetryWhileInUse(Call call, Test isInUse) noexcept {
  constexpr int maxAttempts = 13;
  constexpr DWORD maxPause = 200; // milliseconds
  DWORD pause = 5;
  for (int left = maxAttempts - 1;; --left, pause = std::min(pause * 2, maxPause)) {
    if (call()) return true;
    if (left == 0 || !isInUse()) return false;
    ::Sleep(pause);
  }
}

// The text that read(buffer, capacity) stores. As such calls do, it returns the length without the
// terminating zero, or the size required with it; 0 on failure, the result is then empty.
template <class Read>
std::wstring ReadText(Read read) {
  std::wstring text(read(nullptr, DWORD{0}), L'\0');
  const std::size_t length = read(text.data(), static_cast<DWORD>(text.size()));
  if (length >= text.size()) return {}; // it grew meanwhile
  text.resize(length);
  return text;
}

// Open a file, or a folder if the flags allow it, without excluding other programs. The first tries
// once, the second waits for programs that hold the file. Null on failure, and GetLastError tells
// why.
Handle TryOpenExisting(const std::wstring& name, DWORD access, DWORD flags = 0) noexcept;
Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags = 0) noexcept;

// What an opening that failed with this error means.
ReadStatus OpeningStatus(DWORD error) noexcept;

struct FileStatus {
  BY_HANDLE_FILE_INFORMATION file{};
  FILE_BASIC_INFO basic{};
};

// False if it is not a disk file or the status cannot be read, and GetLastError tells why.
bool QueryStatus(const Handle& file, FileStatus& status) noexcept;

// Times are in units of 100 nanoseconds since 1601.
inline constexpr std::int64_t second = 10'000'000;

// From the system's most precise clock.
std::int64_t CurrentTime() noexcept;

FileIdentity IdentityOf(const FileStatus& status) noexcept;

// Reads from the current position to the end.
ReadStatus ReadOpenFile(const Handle& file, const FileStatus& status, std::size_t limit,
                        std::string& bytes);

} // namespace platform

#endif
