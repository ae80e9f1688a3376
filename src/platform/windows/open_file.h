// Open files: their status, and who may access them.
#ifndef TARVIK_PLATFORM_WINDOWS_OPEN_FILE_H
#define TARVIK_PLATFORM_WINDOWS_OPEN_FILE_H

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
bool RetryWhileInUse(Call call, Test isInUse) {
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

// From the zero of the times of files, 1601, to that of the times here, in their common unit.
inline constexpr std::int64_t start1970 = 11'644'473'600 * 10'000'000;

struct FileStatus {
  FileIdentity identity;
  DWORD attributes = 0;
  LARGE_INTEGER creationTime{};
};

// Nothing if it is not a disk file or the status cannot be read, and GetLastError tells why.
std::optional<FileStatus> QueryStatus(const Handle& file) noexcept;

// What a new file gets from the one that it replaces, or from one that has vanished. The owner is
// not part of it: a file belongs to the user who saves.
struct Access {
  DWORD attributes = 0;
  // A security descriptor that has an access list only; empty if the file system has none.
  std::vector<unsigned char> accessList;
};

// Both throw std::bad_alloc. `file` must be open with the right READ_CONTROL.
std::shared_ptr<const Access> ReadAccess(const Handle& file, const FileStatus& status);
std::vector<unsigned char> ReadAccessList(const Handle& file);

// Whether both lists grant and inherit the same.
bool AreEqualAccessLists(const std::vector<unsigned char>& left,
                         const std::vector<unsigned char>& right) noexcept;

// `file` must be open with the right WRITE_DAC. False on failure, and GetLastError tells why.
bool WriteAccessList(const Handle& file, std::vector<unsigned char> list) noexcept;

// Reads from the current position to the end of a file of about that size.
ReadStatus ReadOpenFile(const Handle& file, std::uint64_t size, std::size_t limit,
                        std::string& bytes);

} // namespace platform

#endif
