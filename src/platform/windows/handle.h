// What the system hands out, files first of all.
#ifndef TARVIK_PLATFORM_WINDOWS_HANDLE_H
#define TARVIK_PLATFORM_WINDOWS_HANDLE_H

#include <windows.h>

#include <algorithm>
#include <utility>

#include "platform/files.h"

namespace platform {

// Owns a handle.
class Handle {
 public:
  Handle() noexcept = default;
  // Failed calls give one of two values.
  explicit Handle(HANDLE opened) noexcept : handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened) {}
  Handle(Handle&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle, other.handle);
    return *this;
  }
  ~Handle() {
    if (IsOpen()) CloseHandle(handle);
  }

  bool IsOpen() const noexcept { return handle != nullptr; }
  HANDLE Get() const noexcept { return handle; }

 private:
  HANDLE handle = nullptr;
};

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

// Opens a file, or a folder if the flags say so, and keeps nobody from using it. Not open on failure, and GetLastError tells why.
Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags = 0) noexcept;

struct FileStatus {
  BY_HANDLE_FILE_INFORMATION file{};
  FILE_BASIC_INFO basic{};
};

// False with GetLastError when it is no file, or can't be asked.
bool AskStatus(const Handle& file, FileStatus& status) noexcept;

// 100-nanosecond units since 1601, as files have their times. From the most exact clock that the system has.
std::int64_t CurrentTime() noexcept;

// stampedAt is the modification time that was set, if one was: then the state is settled if it was stored as it is.
FileState StateOf(const FileStatus& status, std::optional<std::int64_t> stampedAt = std::nullopt) noexcept;

// Reads on until the end of the file.
ReadStatus ReadOpenFile(const Handle& file, const FileStatus& status, std::size_t limit, std::string& bytes);

} // namespace platform

#endif
