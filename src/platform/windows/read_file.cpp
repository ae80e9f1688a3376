#include <windows.h>

#include <algorithm>
#include <memory>

#include "platform/platform.h"
#include "platform/windows/file_handle.h"

namespace platform {
namespace {

ReadStatus StatusOf(DWORD error) noexcept {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_INVALID_NAME:
      return ReadStatus::Missing;
    default:
      return ReadStatus::Unreadable;
  }
}

// Goes through a small buffer that is used again and again: growing the string to its length first would fill all of it
// with zeros, so that fresh memory is touched twice.
ReadStatus ReadUntilEnd(const FileHandle& file, std::size_t expected, std::size_t limit, std::string& bytes) {
  constexpr std::size_t smallestBuffer = 4096;
  constexpr std::size_t largestBuffer = 65536;
  const std::size_t bufferSize = std::clamp(expected + 1, smallestBuffer, largestBuffer);
  const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);

  bytes.clear();
  bytes.reserve(expected);
  for (;;) {
    DWORD count = 0;
    if (!ReadFile(file.Get(), buffer.get(), static_cast<DWORD>(bufferSize), &count, nullptr))
      return ReadStatus::Unreadable;
    if (count == 0) return ReadStatus::Done;
    if (count > limit - bytes.size()) return ReadStatus::TooLong;
    bytes.append(buffer.get(), count);
  }
}

} // namespace

ReadStatus ReadWholeFile(const wchar_t* name, std::size_t limit, std::string& bytes) {
  // A program that replaces the file while it is read must not be stopped.
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const FileHandle file(
      CreateFileW(name, GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen()) return StatusOf(GetLastError());
  LARGE_INTEGER size{};
  if (GetFileType(file.Get()) != FILE_TYPE_DISK || !GetFileSizeEx(file.Get(), &size)) return ReadStatus::Unreadable;

  const std::size_t mostBytes = std::min(limit, bytes.max_size());
  if (static_cast<std::uint64_t>(size.QuadPart) > mostBytes) return ReadStatus::TooLong;
  return ReadUntilEnd(file, static_cast<std::size_t>(size.QuadPart), mostBytes, bytes);
}

} // namespace platform
