// Open files, and what the system says of them.
#ifndef TARVIK_PLATFORM_WINDOWS_HANDLE_H
#define TARVIK_PLATFORM_WINDOWS_HANDLE_H

#include <windows.h>

#include <algorithm>
#include <system_error>

#include "platform/files.h"

namespace platform {

// Throws std::system_error: what could not be done, and why by the system's error number.
[[noreturn]] inline void ThrowSystemFailure(const char* step, DWORD error = GetLastError()) {
  throw std::system_error(static_cast<int>(error), std::system_category(), step);
}

struct HandleCloser {
  void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, HandleCloser>;

// Failed calls give one of two values.
inline Handle Own(HANDLE opened) noexcept { return Handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened); }

// Repeats a call that fails because another program holds the file for a moment, as virus scanners, indexers and other savers
// do: for about a second and a half in all. On failure false, and GetLastError tells why.
template <class Call>
bool OnceItIsFree(Call call) noexcept {
  constexpr int mostAttempts = 13;
  constexpr DWORD longestPause = 200; // milliseconds
  DWORD pause = 5;
  for (int left = mostAttempts - 1;; --left, pause = std::min(pause * 2, longestPause)) {
    if (call()) return true;
    const DWORD error = GetLastError();
    // A file that is being deleted or replaced counts as one without access.
    const bool isHeld =
        error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED;
    if (!isHeld || left == 0) return false;
    ::Sleep(pause);
  }
}

// False also where the file can't be asked.
inline bool HasAttribute(const std::wstring& name, DWORD attribute) noexcept {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) != 0;
}

// Opens a file, or a folder if the flags say so, and keeps nobody from using it. Null on failure, and GetLastError tells why.
Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags = 0) noexcept;

struct FileStatus {
  BY_HANDLE_FILE_INFORMATION file{};
  FILE_BASIC_INFO basic{};
};

// False with GetLastError when it is no file, or can't be asked.
bool AskStatus(const Handle& file, FileStatus& status) noexcept;

// 100-nanosecond units since 1601, as files have their times. From the most exact clock that the system has.
std::int64_t CurrentTime() noexcept;

// stampedAt is the modification time that was set, if one was.
FileState StateOf(const FileStatus& status, std::optional<std::int64_t> stampedAt = std::nullopt) noexcept;

// Reads on until the end of the file.
ReadStatus ReadOpenFile(const Handle& file, const FileStatus& status, std::size_t limit, std::string& bytes);

} // namespace platform

#endif
