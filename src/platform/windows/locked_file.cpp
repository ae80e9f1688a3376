#include <windows.h>
// After windows.h, which it needs.
#include <sddl.h>

#include <cassert>
#include <cwchar>
#include <vector>

#include "platform/file_parts.h"
#include "platform/windows/handle.h"

namespace platform {
namespace {

std::wstring_view FolderPart(std::wstring_view name) noexcept {
  return name.substr(0, name.find_last_of(L"\\/:") + 1);
}

bool IsLink(const std::wstring& name) noexcept {
  return HasAttribute(name, FILE_ATTRIBUTE_REPARSE_POINT);
}

// The file's name with all symbolic links resolved, the same for every path to it. If the volume
// does not supply one, the given name, unless that is a link.
std::wstring FinalName(const Handle& file, const std::wstring& given) {
  std::wstring name(GetFinalPathNameByHandleW(file.get(), nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
  const auto size = static_cast<DWORD>(name.size());
  const DWORD length =
      GetFinalPathNameByHandleW(file.get(), name.data(), size, FILE_NAME_NORMALIZED);
  if (length != 0 && length < size) return std::wstring(name, 0, length);
  if (IsLink(given)) ThrowSystemFailure("cannot follow the symbolic link");
  return given;
}

// If there is no file yet, the links in its folder's name are followed.
std::wstring FollowLinks(const std::wstring& name) {
  const Handle file = OpenExisting(name, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (file) return FinalName(file, name);
  if (GetLastError() != ERROR_FILE_NOT_FOUND) ThrowSystemFailure("cannot reach the file");
  if (IsLink(name)) ThrowSystemFailure("the symbolic link leads to no file", ERROR_FILE_NOT_FOUND);
  const std::wstring folderName(FolderPart(name));
  const Handle folder = OpenExisting(folderName, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (!folder) ThrowSystemFailure("cannot reach the folder");
  std::wstring final = FinalName(folder, folderName);
  if (!final.ends_with(L'\\')) final += L'\\';
  return final += std::wstring_view(name).substr(folderName.size());
}

// Ignores case, as file names do.
std::uint64_t HashName(std::wstring name) noexcept {
  const auto size = static_cast<int>(name.size());
  LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), size, name.data(), size,
                nullptr, nullptr, 0);
  std::uint64_t hash = 14'695'981'039'346'656'037U; // FNV-1a
  for (const wchar_t character : name) hash = (hash ^ character) * 1'099'511'628'211U;
  return hash;
}

// A mutex for all sessions and users, who may wait for it and release it, even at low integrity. A
// sandboxed process may not use global names and gets a mutex for its session.
Handle OpenMutexOf(const std::wstring& fileName) {
  constexpr DWORD access = SYNCHRONIZE | MUTEX_MODIFY_STATE;
  static_assert(access == 0x100001, "as in the descriptor below");
  SECURITY_ATTRIBUTES forAll{sizeof forAll, nullptr, FALSE};
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
          L"D:(A;;0x100001;;;WD)S:(ML;;NW;;;LW)", SDDL_REVISION_1, &forAll.lpSecurityDescriptor,
          nullptr)) {
    ThrowSystemFailure("cannot say who may lock the file");
  }
  const std::unique_ptr<void, decltype(&LocalFree)> descriptor(forAll.lpSecurityDescriptor,
                                                               &LocalFree);
  wchar_t name[48];
  std::swprintf(name, std::size(name), L"Global\\tarvik-%016llx", HashName(fileName));
  Handle mutex(CreateMutexExW(&forAll, name, 0, access));
  if (!mutex && GetLastError() == ERROR_ACCESS_DENIED) {
    mutex.reset(CreateMutexExW(&forAll, std::wcschr(name, L't'), 0, access));
  }
  if (!mutex) ThrowSystemFailure("cannot lock the file");
  return mutex;
}

struct MutexReleaser {
  void operator()(HANDLE mutex) const noexcept {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
  }
};
using HeldMutex = std::unique_ptr<void, MutexReleaser>;

// Locks the file against others that do the same.
HeldMutex LockOut(const std::wstring& fileName, Deadline deadline) {
  Handle mutex = OpenMutexOf(fileName);
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  const DWORD result =
      WaitForSingleObject(mutex.get(), static_cast<DWORD>(std::max<std::int64_t>(left.count(), 0)));
  // If it was abandoned, its owner ended during a save; the file is complete even then.
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) {
    ThrowSystemFailure("another program holds the file's lock",
                       result == WAIT_FAILED ? GetLastError() : ERROR_TIMEOUT);
  }
  return HeldMutex(mutex.release());
}

bool VanishWhenClosed(const Handle& file, bool vanish) noexcept {
  FILE_DISPOSITION_INFO disposition{vanish};
  return SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition,
                                    sizeof disposition);
}

// A file that gets its final name when it is complete, and is removed otherwise. Every operation
// throws std::system_error or std::bad_alloc.
class TemporaryFile {
 public:
  // Creates a file in the folder, whose name ends in a separator, with those attributes that must
  // be set at creation.
  TemporaryFile(std::wstring_view folder, DWORD attributes) {
    const std::string own = TemporaryName();
    name.append(folder).append(own.begin(), own.end());
    constexpr DWORD access = GENERIC_WRITE | DELETE | WRITE_DAC;
    const DWORD known = FILE_ATTRIBUTE_NORMAL | (attributes & FILE_ATTRIBUTE_ENCRYPTED);
    file = Own(CreateFileW(name.c_str(), access, 0, nullptr, CREATE_NEW, known, nullptr));
    if (!file) ThrowSystemFailure("cannot create a temporary file in the folder");
    VanishWhenClosed(file, true); // even if the process is killed
  }
  ~TemporaryFile() {
    if (name.empty()) return;
    file.reset();
    DeleteFileW(name.c_str()); // in case closing did not remove it
  }
  TemporaryFile(TemporaryFile&&) = delete;

  void TakeOverAccessList(const Handle& original) {
    constexpr SECURITY_INFORMATION accessList = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    GetKernelObjectSecurity(original.get(), accessList, nullptr, 0, &size);
    if (size == 0) return; // the file system has no access lists
    std::vector<unsigned char> descriptor(size);
    bool isTaken =
        GetKernelObjectSecurity(original.get(), accessList, descriptor.data(), size, &size);
    // Inherited entries keep following the folder.
    SetSecurityDescriptorControl(descriptor.data(), SE_DACL_AUTO_INHERIT_REQ,
                                 SE_DACL_AUTO_INHERIT_REQ);
    isTaken = isTaken && SetKernelObjectSecurity(file.get(), accessList, descriptor.data());
    if (!isTaken) ThrowSystemFailure("cannot take over the file's access list");
  }

  void Write(std::string_view bytes) {
    constexpr std::size_t longestPiece = std::size_t{1} << 30;
    while (!bytes.empty()) {
      const auto piece = static_cast<DWORD>(std::min(bytes.size(), longestPiece));
      DWORD count = 0;
      if (!WriteFile(file.get(), bytes.data(), piece, &count, nullptr))
        ThrowSystemFailure("cannot write");
      if (count == 0) ThrowSystemFailure("cannot write", ERROR_DISK_FULL);
      bytes.remove_prefix(count);
    }
  }

  // Sets the file's times and attributes, flushes it, and gives it the name `target`. Returns the
  // file's state, or nothing if the name is in use and `replaces` is false. creationTime 0: now.
  //
  // ReplaceFile is not used, because it removes the old file before the new one has its name: a
  // crash in between leaves none.
  std::optional<FileState> Name(const std::wstring& target, bool replaces,
                                LARGE_INTEGER creationTime, DWORD attributes) {
    constexpr DWORD settable = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN |
                               FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;
    FILE_BASIC_INFO basic{};
    basic.CreationTime = creationTime;
    basic.LastWriteTime.QuadPart = CurrentTime();
    basic.FileAttributes = attributes & settable;
    if (basic.FileAttributes == 0) basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    if (!SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic)) {
      ThrowSystemFailure("cannot take over the file's attributes");
    }
    if (!FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");

    VanishWhenClosed(file, false);
    // A second handle for the state, which does not exclude other programs.
    const Handle named = OpenExisting(name, FILE_READ_ATTRIBUTES);
    FileStatus status;
    AskStatus(named, status);
    const DWORD volume =
        status.file.dwVolumeSerialNumber; // Wine forgets it when the file is renamed
    file.reset();
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replaces ? MOVEFILE_REPLACE_EXISTING : 0);
    if (!OnceItIsFree([&] { return MoveFileExW(name.c_str(), target.c_str(), flags); })) {
      if (!replaces &&
          (GetLastError() == ERROR_ALREADY_EXISTS || GetLastError() == ERROR_FILE_EXISTS))
        return {};
      ThrowSystemFailure("cannot replace the file");
    }
    name.clear();
    if (!AskStatus(named, status)) return FileState();
    status.file.dwVolumeSerialNumber = volume;
    return StateOf(status, basic.LastWriteTime.QuadPart);
  }

 private:
  std::wstring name; // empty once it is the final one
  Handle file;       // while it is open, closing it removes the file
};

} // namespace

struct LockedFile::System {
  std::wstring name; // with all links resolved
  HeldMutex mutex;
  Handle original; // null if there is no file
  FileStatus status;
  std::optional<FileState> state;
};

LockedFile::LockedFile(const FileName& name, Deadline deadline)
    : system(std::make_unique<System>()) {
  // A link can be changed while this waits for the lock of its old target.
  do {
    system->mutex.reset();
    system->name = FollowLinks(name.native());
    system->mutex = LockOut(system->name, deadline);
  } while (FollowLinks(name.native()) != system->name);

  Handle& file = system->original;
  file = OpenExisting(system->name, GENERIC_READ);
  if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) return;
  if (!file) ThrowSystemFailure("cannot read the file");
  if (!AskStatus(file, system->status))
    ThrowSystemFailure("cannot replace what is no regular file");
  if ((system->status.basic.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
    ThrowSystemFailure("the file is read-only", ERROR_ACCESS_DENIED);
  }
  // A rename would check only the right to delete the file.
  if (!OpenExisting(system->name, GENERIC_WRITE)) ThrowSystemFailure("cannot write the file");
  system->state = StateOf(system->status);
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  assert(system->original);
  return ReadOpenFile(system->original, system->status, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  Handle& original = system->original;
  const FILE_BASIC_INFO& old = system->status.basic;
  const bool replaces = original != nullptr;
  DWORD attributes = old.FileAttributes;
  if (!replaces && access != nullptr) attributes = access->attributes;
  TemporaryFile made(FolderPart(system->name), attributes);
  // First, so that only those who could read the old content can read the new.
  if (replaces) made.TakeOverAccessList(original);
  for (const std::string_view piece : pieces) made.Write(piece);
  original.reset(); // an open file could not be replaced
  const std::optional<FileState> named =
      made.Name(system->name, replaces, old.CreationTime, attributes);
  if (named) system->state = named;
  return named.has_value();
}

// MOVEFILE_WRITE_THROUGH makes the rename return when it is on the disk.
void LockedFile::FlushFolder() const {}

} // namespace platform
