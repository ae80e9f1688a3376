// The new file of a save. Until its content is on the disk it is marked to be deleted when it is
// closed, so a process that is killed leaves nothing behind.
#include "platform/windows/temporary_file.h"

#include <cassert>
#include <cstring>

#include "platform/file_parts.h"

namespace platform {
namespace {

constexpr DWORD settableAttributes =
    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;

// Even if the process is killed.
void SetDeleteOnClose(const Handle& file, bool isDeleted) noexcept {
  FILE_DISPOSITION_INFO disposition{isDeleted};
  SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
}

// Not in the compiler's headers for all versions of Windows.
constexpr auto fileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr DWORD replaceIfExists = 1;
constexpr DWORD posixSemantics = 2;

// What the system takes for a rename, without the flags.
std::vector<char> RenameRequest(const std::wstring& target) {
  FILE_RENAME_INFO info{};
  info.FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
  std::vector<char> request(sizeof info + info.FileNameLength);
  std::memcpy(request.data(), &info, sizeof info);
  std::memcpy(request.data() + offsetof(FILE_RENAME_INFO, FileName), target.data(),
              info.FileNameLength);
  return request;
}

// False on failure, and GetLastError tells why. Unlike a rename by name, it cannot meet another
// file. ReplaceFile is not used, because it removes the old file before the new one has its name: a
// crash in between leaves none.
bool Rename(const Handle& file, std::vector<char>& request, FILE_INFO_BY_HANDLE_CLASS way,
            DWORD flags) noexcept {
  static_assert(offsetof(FILE_RENAME_INFO, ReplaceIfExists) == 0, "the flags' place");
  assert(request.size() > sizeof(FILE_RENAME_INFO));
  std::memcpy(request.data(), &flags, sizeof flags);
  return SetFileInformationByHandle(file.get(), way, request.data(),
                                    static_cast<DWORD>(request.size()));
}

// Whether a file that could not be replaced may be replaceable later. Access is denied both if
// another program has it open, and if this one may not delete it, which opening it shows.
bool IsReplaceableLater(const std::wstring& name) noexcept {
  if (IsInUse()) return true;
  if (GetLastError() != ERROR_ACCESS_DENIED) return false;
  const bool isDeletable = TryOpenExisting(name, DELETE) || IsInUse();
  SetLastError(ERROR_ACCESS_DENIED);
  return isDeletable;
}

// The errors of systems, file systems and servers that lack the newer way.
bool IsUnsupported(DWORD error) noexcept {
  return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED ||
         error == ERROR_INVALID_PARAMETER;
}

} // namespace

TemporaryFile::TemporaryFile(std::wstring_view folder, std::uint64_t number, DWORD attributes)
    : finalAttributes(attributes) {
  const auto create = [&](const std::string& own) {
    name.assign(folder).append(own.begin(), own.end());
    DeleteFileW(name.c_str());
    const DWORD initial = FILE_ATTRIBUTE_HIDDEN | (attributes & FILE_ATTRIBUTE_ENCRYPTED);
    file = MakeHandle(CreateFileW(name.c_str(), GENERIC_WRITE | READ_CONTROL | DELETE, 0, nullptr,
                                  CREATE_NEW, initial, nullptr));
    return file != nullptr;
  };
  if (!create(TemporaryName(number)) && !create(TemporaryName()))
    ThrowSystemFailure("cannot create a temporary file in the folder");
  SetDeleteOnClose(file, true);
}

TemporaryFile::~TemporaryFile() {
  if (!name.empty()) SetDeleteOnClose(file, true);
}

void TemporaryFile::SetAccessList(const std::vector<unsigned char>& list) {
  if (list.empty() || AreEqualAccessLists(list, ReadAccessList(file))) return;
  // A share can grant all that a save needs but this right, so only this handle has it.
  SetDeleteOnClose(file, false);
  const Handle forList = OpenExisting(name, WRITE_DAC);
  const bool isWritten = forList && WriteAccessList(forList, list);
  const DWORD error = GetLastError();
  SetDeleteOnClose(file, true);
  if (!isWritten) ThrowSystemFailure("cannot copy the file's access list", error);
}

void TemporaryFile::Write(std::string_view bytes) {
  assert(file && stampedAt == 0); // a later write would change the time
  constexpr std::size_t maxPiece = std::size_t{1} << 30;
  while (!bytes.empty()) {
    const auto piece = static_cast<DWORD>(std::min(bytes.size(), maxPiece));
    DWORD count = 0;
    if (!WriteFile(file.get(), bytes.data(), piece, &count, nullptr))
      ThrowSystemFailure("cannot write");
    if (count == 0) ThrowSystemFailure("cannot write", ERROR_DISK_FULL);
    bytes.remove_prefix(count);
  }
}

void TemporaryFile::SetAttributes(const FILE_BASIC_INFO& basic) {
  FILE_BASIC_INFO info = basic;
  if (!SetFileInformationByHandle(file.get(), FileBasicInfo, &info, sizeof info))
    ThrowSystemFailure("cannot copy the file's attributes");
}

void TemporaryFile::Finish(LARGE_INTEGER creationTime) {
  stampedAt = CurrentTime();
  FILE_BASIC_INFO basic{};
  basic.CreationTime = creationTime;
  basic.LastWriteTime.QuadPart = stampedAt;
  basic.FileAttributes =
      (finalAttributes & settableAttributes) | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE;
  SetAttributes(basic);
  if (!FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");

  SetDeleteOnClose(file, false);
  named = OpenExisting(name, FILE_READ_ATTRIBUTES | READ_CONTROL);
  FileStatus status;
  if (!named || !QueryStatus(named, status)) ThrowSystemFailure("cannot read the file's status");
  volume = status.file.dwVolumeSerialNumber; // Wine forgets it when the file is renamed
}

bool TemporaryFile::RenameTo(const std::wstring& target, bool replaces, Handle& original,
                             const std::function<bool()>& isUnchanged) {
  assert(named);
  std::vector<char> request = RenameRequest(target);
  const DWORD flags = replaces ? replaceIfExists : 0;
  if ((finalAttributes & FILE_ATTRIBUTE_HIDDEN) == 0) {
    FILE_BASIC_INFO shown{};
    shown.FileAttributes = (finalAttributes & settableAttributes) | FILE_ATTRIBUTE_ARCHIVE;
    SetAttributes(shown);
  }
  bool isChanged = false;
  const auto rename = [&]() noexcept {
    isChanged = !isUnchanged();
    if (isChanged || Rename(file, request, fileRenameInfoEx, flags | posixSemantics)) return true;
    if (!IsUnsupported(GetLastError())) return false;
    original.reset();
    return Rename(file, request, FileRenameInfo, flags);
  };
  if (!RetryWhileInUse(rename, [&] { return IsReplaceableLater(target); })) {
    const DWORD error = GetLastError();
    if (!replaces && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
    ThrowSystemFailure("cannot replace the file", error);
  }
  if (!isChanged) name.clear();
  return !isChanged;
}

FileState TemporaryFile::State() {
  assert(name.empty());
  file.reset();
  FileStatus status;
  if (!QueryStatus(named, status)) return FileState();
  status.file.dwVolumeSerialNumber = volume;
  return StateOf(named, status, stampedAt);
}

} // namespace platform
