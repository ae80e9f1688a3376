#include <windows.h>

#include <optional>
#include <string>

#include "platform/platform.h"
#include "platform/windows/file_handle.h"
#include "platform/windows/system_failure.h"
#include "platform/windows/temporary_file.h"

namespace platform {
namespace {

std::wstring_view FolderPart(std::wstring_view name) noexcept {
  const std::size_t separator = name.find_last_of(L"\\/:");
  return separator == std::wstring_view::npos ? std::wstring_view() : name.substr(0, separator + 1);
}

// The name behind all symbolic links.
std::wstring FollowLinks(const std::wstring& name) {
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const FileHandle file(CreateFileW(name.c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file.IsOpen()) ThrowSystemFailure("cannot follow the symbolic link");
  const DWORD size = GetFinalPathNameByHandleW(file.Get(), nullptr, 0, FILE_NAME_NORMALIZED);
  std::wstring target(size, L'\0');
  const DWORD length = GetFinalPathNameByHandleW(file.Get(), target.data(), size, FILE_NAME_NORMALIZED);
  if (length == 0 || length >= size) ThrowSystemFailure("cannot follow the symbolic link");
  target.resize(length);
  return target;
}

bool Exists(DWORD attributes) noexcept { return attributes != INVALID_FILE_ATTRIBUTES; }

// The attributes of the file that is to be replaced, or nothing when there is none yet. Throws when it must not be
// replaced.
std::optional<DWORD> CheckReplaceable(const std::wstring& name) {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  if (!Exists(attributes)) {
    if (GetLastError() != ERROR_FILE_NOT_FOUND) ThrowSystemFailure("cannot reach the file");
    return std::nullopt;
  }
  if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) != 0) {
    ThrowSystemFailure("cannot replace what is no regular file", ERROR_ACCESS_DENIED);
  }
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) ThrowSystemFailure("the file is read-only", ERROR_ACCESS_DENIED);
  return attributes;
}

} // namespace

void ReplaceWholeFile(const wchar_t* name, std::string_view bytes) {
  std::wstring target(name);
  const DWORD attributes = GetFileAttributesW(name);
  if (Exists(attributes) && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) target = FollowLinks(target);
  const std::optional<DWORD> original = CheckReplaceable(target);

  TemporaryFile temporary(FolderPart(target));
  // First, so that nobody reads the new bytes who could not read the old ones.
  if (original) temporary.TakeOverPermissions(target, *original);
  temporary.Write(bytes);
  temporary.Replace(target);
}

} // namespace platform
