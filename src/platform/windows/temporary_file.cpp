#include "platform/windows/temporary_file.h"

#include <vector>

#include "platform/file_parts.h"
#include "platform/windows/system_failure.h"

namespace platform {
namespace {

bool VanishWhenClosed(const Handle& file, bool vanish) noexcept {
  FILE_DISPOSITION_INFO disposition{};
  disposition.DeleteFile = vanish;
  return SetFileInformationByHandle(file.Get(), FileDispositionInfo, &disposition, sizeof disposition);
}

} // namespace

TemporaryFile::TemporaryFile(std::wstring_view folder, DWORD attributes) {
  const std::string own = TemporaryName();
  name.append(folder).append(own.begin(), own.end());
  constexpr DWORD access = GENERIC_WRITE | DELETE | WRITE_DAC;
  const DWORD known = FILE_ATTRIBUTE_NORMAL | (attributes & FILE_ATTRIBUTE_ENCRYPTED);
  file = Handle(CreateFileW(name.c_str(), access, 0, nullptr, CREATE_NEW, known, nullptr));
  if (!file.IsOpen()) ThrowSystemFailure("cannot create a temporary file in the folder");
  VanishWhenClosed(file, true); // also when the process is killed
}

TemporaryFile::~TemporaryFile() {
  if (name.empty()) return;
  file = Handle();
  DeleteFileW(name.c_str()); // where closing did not do it
}

void TemporaryFile::TakeOverAccessList(const Handle& original) {
  constexpr SECURITY_INFORMATION accessList = DACL_SECURITY_INFORMATION;
  DWORD size = 0;
  GetKernelObjectSecurity(original.Get(), accessList, nullptr, 0, &size);
  if (size == 0) return; // the file system has none
  std::vector<unsigned char> descriptor(size);
  bool isTaken = GetKernelObjectSecurity(original.Get(), accessList, descriptor.data(), size, &size);
  // What was inherited goes on following the folder.
  SetSecurityDescriptorControl(descriptor.data(), SE_DACL_AUTO_INHERIT_REQ, SE_DACL_AUTO_INHERIT_REQ);
  isTaken = isTaken && SetKernelObjectSecurity(file.Get(), accessList, descriptor.data());
  if (!isTaken) ThrowSystemFailure("cannot take over the file's access list");
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

// Not with ReplaceFile, which takes the old file away before the new one has its name: a crash between leaves neither.
std::optional<FileState> TemporaryFile::Name(const std::wstring& target, bool replaces, LARGE_INTEGER creationTime,
                                             DWORD attributes) {
  constexpr DWORD settable =
      FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;
  FILE_BASIC_INFO basic{};
  basic.CreationTime = creationTime;
  basic.LastWriteTime.QuadPart = CurrentTime();
  basic.FileAttributes = attributes & settable;
  if (basic.FileAttributes == 0) basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  if (!SetFileInformationByHandle(file.Get(), FileBasicInfo, &basic, sizeof basic)) {
    ThrowSystemFailure("cannot take over the file's attributes");
  }
  if (!FlushFileBuffers(file.Get())) ThrowSystemFailure("cannot flush to the disk");

  VanishWhenClosed(file, false);
  // To ask for the state alone, so that it keeps nobody out.
  const Handle named = OpenExisting(name, FILE_READ_ATTRIBUTES);
  FileStatus status;
  AskStatus(named, status);
  const DWORD volume = status.file.dwVolumeSerialNumber; // which Wine forgets when the file is renamed
  file = Handle();
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replaces ? MOVEFILE_REPLACE_EXISTING : 0);
  if (!OnceItIsFree([&] { return MoveFileExW(name.c_str(), target.c_str(), flags); })) {
    if (!replaces && (GetLastError() == ERROR_ALREADY_EXISTS || GetLastError() == ERROR_FILE_EXISTS)) return {};
    ThrowSystemFailure("cannot replace the file");
  }
  name.clear();
  if (!AskStatus(named, status)) return FileState();
  status.file.dwVolumeSerialNumber = volume;
  return StateOf(status, basic.LastWriteTime.QuadPart);
}

} // namespace platform
