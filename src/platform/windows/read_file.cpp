#include <chrono>

#include "platform/file_parts.h"
#include "platform/windows/handle.h"

namespace platform {
namespace {

constexpr std::int64_t second = 10'000'000;
constexpr DWORD directoryNotSupported = 336; // missing in the compiler's headers

ReadStatus StatusOf(DWORD error) noexcept {
  const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
                         error == ERROR_INVALID_DRIVE || error == ERROR_INVALID_NAME;
  return isMissing ? ReadStatus::Missing : ReadStatus::Unreadable;
}

} // namespace

// Adds the prefix that lifts the limit of 260 characters, which absolute names only can have.
// Device names have another one.
FileName AbsoluteFileName(const char*, const wchar_t* wide) {
  std::wstring full(GetFullPathNameW(wide, 0, nullptr, nullptr), L'\0');
  const DWORD length =
      GetFullPathNameW(wide, static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (length == 0 || length >= full.size()) return wide;
  full.resize(length);
  if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) return full;
  if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
  return L"\\\\?\\" + full;
}

Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags) noexcept {
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  Handle file;
  OnceItIsFree([&] {
    file = Own(CreateFileW(name.c_str(), access, shareAll, nullptr, OPEN_EXISTING, flags, nullptr));
    if (file || GetLastError() != ERROR_ACCESS_DENIED) return file != nullptr;
    // Retrying is pointless for a folder.
    SetLastError(HasAttribute(name, FILE_ATTRIBUTE_DIRECTORY) ? directoryNotSupported
                                                              : ERROR_ACCESS_DENIED);
    return false;
  });
  return file;
}

// A pipe or a console has no identity, and reading it could block forever.
bool AskStatus(const Handle& file, FileStatus& status) noexcept {
  if (GetFileType(file.get()) != FILE_TYPE_DISK) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
  }
  return GetFileInformationByHandle(file.get(), &status.file) &&
         GetFileInformationByHandleEx(file.get(), FileBasicInfo, &status.basic,
                                      sizeof status.basic);
}

std::int64_t CurrentTime() noexcept {
  using Units = std::chrono::duration<std::int64_t, std::ratio<1, second>>;
  constexpr std::int64_t start1970 = 11'644'473'600 * second;
  return start1970 +
         std::chrono::duration_cast<Units>(std::chrono::system_clock::now().time_since_epoch())
             .count();
}

// On ReFS two files can have the same 64-bit number, but hardly the same size and times as well.
FileState StateOf(const FileStatus& status, std::optional<std::int64_t> stampedAt) {
  const auto join = [](DWORD high, DWORD low) {
    return static_cast<std::uint64_t>(high) << 32 | low;
  };
  const BY_HANDLE_FILE_INFORMATION& file = status.file;
  FileState state{{file.dwVolumeSerialNumber, join(file.nFileIndexHigh, file.nFileIndexLow),
                   join(file.nFileSizeHigh, file.nFileSizeLow), status.basic.LastWriteTime.QuadPart,
                   status.basic.ChangeTime.QuadPart},
                  std::make_shared<const Access>(Access{file.dwFileAttributes})};
  state.isSettled = IsSettled(state.identity, stampedAt, CurrentTime(), second);
  state.isYoung = IsYoung(state.identity, CurrentTime(), second);
  return state;
}

ReadStatus ReadOpenFile(const Handle& file, const FileStatus& status, std::size_t limit,
                        std::string& bytes) {
  const auto readSome = [&file](char* buffer, DWORD size) {
    DWORD count = 0;
    // Part of a file may be locked.
    const bool isRead =
        OnceItIsFree([&] { return ReadFile(file.get(), buffer, size, &count, nullptr); });
    return isRead ? static_cast<std::int64_t>(count) : -1;
  };
  return ReadToEnd(readSome, StateOf(status).identity.size, limit, bytes);
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  const Handle file = OpenExisting(name.native(), GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN);
  if (!file) return StatusOf(GetLastError());
  FileStatus status;
  if (!AskStatus(file, status)) return ReadStatus::Unreadable;
  state = StateOf(status);
  return ReadOpenFile(file, status, limit, bytes);
}

} // namespace platform
