#include "platform/windows/temporary_file.h"

#include <algorithm>
#include <cwchar>
#include <vector>

#include "platform/platform.h"
#include "platform/windows/system_failure.h"

namespace platform {
namespace {

std::wstring RandomName(std::wstring_view folder) {
  std::uint32_t number = 0;
  if (!DrawRandom(number)) ThrowSystemFailure("no random name for a temporary file", ERROR_GEN_FAILURE);
  wchar_t suffix[16];
  std::swprintf(suffix, sizeof suffix / sizeof *suffix, L"%08x", static_cast<unsigned>(number));
  return std::wstring(folder) + L".tarvik-" + suffix;
}

// Gives the name it found free.
HANDLE OpenNew(std::wstring_view folder, std::wstring& name) {
  constexpr int mostAttempts = 100;
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    name = RandomName(folder);
    HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) return file;
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  ThrowSystemFailure("cannot create a temporary file in the folder");
}

// A virus scanner or an indexer holds a new file, or the old one, for a moment.
bool IsHeldForAMoment(DWORD error) noexcept {
  return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED || error == ERROR_LOCK_VIOLATION;
}

void CopyAccessList(const std::wstring& original, const std::wstring& copy) {
  DWORD size = 0;
  GetFileSecurityW(original.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  if (size == 0) return; // the file system has none
  std::vector<unsigned char> descriptor(size);
  if (!GetFileSecurityW(original.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(), size, &size) ||
      !SetFileSecurityW(copy.c_str(), DACL_SECURITY_INFORMATION, descriptor.data())) {
    ThrowSystemFailure("cannot take over the file's access list");
  }
}

} // namespace

TemporaryFile::TemporaryFile(std::wstring_view folder) : file(OpenNew(folder, name)) {}

TemporaryFile::~TemporaryFile() {
  if (name.empty()) return;
  if (file.IsOpen()) CloseHandle(file.Release());
  DeleteFileW(name.c_str());
}

void TemporaryFile::Write(std::string_view bytes) {
  constexpr std::size_t longestPiece = std::size_t{1} << 30;
  while (!bytes.empty()) {
    const auto piece = static_cast<DWORD>(std::min(bytes.size(), longestPiece));
    DWORD count = 0;
    if (!WriteFile(file.Get(), bytes.data(), piece, &count, nullptr)) ThrowSystemFailure("cannot write");
    if (count == 0) ThrowSystemFailure("cannot write", ERROR_DISK_FULL);
    bytes.remove_prefix(count);
  }
}

void TemporaryFile::TakeOverPermissions(const std::wstring& original, DWORD attributes) {
  constexpr DWORD settable =
      FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;
  CopyAccessList(original, name);
  const DWORD wanted = attributes & settable;
  if (!SetFileAttributesW(name.c_str(), wanted != 0 ? wanted : FILE_ATTRIBUTE_NORMAL)) {
    ThrowSystemFailure("cannot take over the file's attributes");
  }
}

// Not with ReplaceFile, which takes the old file away before the new one has its name: a crash between leaves neither.
void TemporaryFile::Replace(const std::wstring& target) {
  constexpr int mostAttempts = 12;
  constexpr DWORD longestPause = 200; // milliseconds; about a second and a half in all

  if (!FlushFileBuffers(file.Get())) ThrowSystemFailure("cannot flush to the disk");
  if (!CloseHandle(file.Release())) ThrowSystemFailure("cannot close");
  DWORD pause = 5;
  for (int attempt = 1;; ++attempt) {
    if (MoveFileExW(name.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) break;
    const DWORD error = GetLastError();
    if (attempt == mostAttempts || !IsHeldForAMoment(error)) ThrowSystemFailure("cannot replace the file", error);
    ::Sleep(pause);
    pause = std::min(pause * 2, longestPause);
  }
  name.clear();
}

} // namespace platform
