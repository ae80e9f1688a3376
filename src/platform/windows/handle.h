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
inline Handle Own(HANDLE opened) noexcept {
  return Handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
}

// Repeats a call that fails because another program is using the file, for up to about a second and
// a half. Virus scanners, indexers and other writers hold files briefly. False on failure, and
// GetLastError tells why.
template <class Call>
bool OnceItIsFree(Call call) noexcept {
  constexpr int mostAttempts = 13;
  constexpr DWORD longestPause = 200; // milliseconds
  DWORD pause = 5;
  for (int left = mostAttempts - 1;; --left, pause = std::min(pause * 2, longestPause)) {
    if (call()) return true;
    const DWORD error = GetLastError();
    // Access is also denied while a file is being deleted or replaced.
    const bool isHeld = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                        error == ERROR_ACCESS_DENIED;
    if (!isHeld || left == 0) return false;
    ::Sleep(pause);
  }
}

// Also false if the attributes cannot be read.
inline bool HasAttribute(const std::wstring& name, DWORD attribute) noexcept {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) != 0;
}

// Opens a file, or a folder if the flags allow it, without excluding other programs. Null on
// failure, and GetLastError tells why.
Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags = 0) noexcept;

// What a new file gets from the one that it replaces, or from one that has vanished.
struct Access {
  DWORD attributes = 0;
};

struct FileStatus {
  BY_HANDLE_FILE_INFORMATION file{};
  FILE_BASIC_INFO basic{};
};

// False if it is not a disk file or the status cannot be read, and GetLastError tells why.
bool AskStatus(const Handle& file, FileStatus& status) noexcept;

// In units of 100 nanoseconds since 1601, as in file times, from the system's most precise clock.
std::int64_t CurrentTime() noexcept;

// stampedAt: the modification time that was set, if any.
// Throws std::bad_alloc.
FileState StateOf(const FileStatus& status, std::optional<std::int64_t> stampedAt = std::nullopt);

// Reads from the current position to the end.
ReadStatus ReadOpenFile(const Handle& file, const FileStatus& status, std::size_t limit,
                        std::string& bytes);

} // namespace platform

#endif
