// Replacing a file under a lock. The lock is a mutex named after the file's final path, since a
// lock on the file itself would keep other programs from reading it.
#include <windows.h>
// After windows.h, which it needs.
#include <sddl.h>

#include <cwchar>

#include "platform/windows/temporary_file.h"

namespace platform {
namespace {

std::wstring_view FolderPart(std::wstring_view name) noexcept {
  return name.substr(0, name.find_last_of(L"\\/:") + 1);
}

bool IsLink(const std::wstring& name) noexcept {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// The file's name with all symbolic links resolved, the same for every path to it. If the volume
// does not supply one, the given name, unless that is a link.
std::wstring FinalName(const Handle& file, const std::wstring& given) {
  std::wstring name = ReadText([&file](wchar_t* buffer, DWORD capacity) {
    return GetFinalPathNameByHandleW(file.get(), buffer, capacity, FILE_NAME_NORMALIZED);
  });
  if (!name.empty()) return name;
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
std::uint64_t HashFolded(std::wstring name) noexcept {
  const auto size = static_cast<int>(name.size());
  LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), size, name.data(), size,
                nullptr, nullptr, 0);
  return HashName(std::wstring_view(name));
}

// A mutex for all sessions and users, who may wait for it and release it, even at low integrity. A
// sandboxed process may not use global names and gets a mutex for its session.
Handle OpenMutexOf(std::uint64_t hash) {
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
  std::swprintf(name, std::size(name), L"Global\\tarvik-%016llx", hash);
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
HeldMutex AcquireLock(std::uint64_t hash, Deadline deadline) {
  Handle mutex = OpenMutexOf(hash);
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

} // namespace

struct LockedFile::System {
  std::wstring name;      // with all links resolved
  std::uint64_t hash = 0; // of the name
  HeldMutex mutex;
  Handle original; // null if there is no file
  FileStatus status;
  std::optional<FileState> state;

  // Whether the name still leads to the file as it was found, or still to none.
  bool IsUnchanged() const noexcept {
    const Handle now = OpenExisting(name, FILE_READ_ATTRIBUTES);
    if (!now) return !state && GetLastError() == ERROR_FILE_NOT_FOUND;
    FileStatus found;
    return state && QueryStatus(now, found) && IdentityOf(found) == state->identity;
  }
};

LockedFile::LockedFile(const FileName& name, Deadline deadline)
    : system(std::make_unique<System>()) {
  // A link can be changed while this waits for the lock of its old target.
  do {
    system->mutex.reset();
    system->name = FollowLinks(name.native());
    system->hash = HashFolded(system->name);
    system->mutex = AcquireLock(system->hash, deadline);
  } while (FollowLinks(name.native()) != system->name);

  Handle& file = system->original;
  file = OpenExisting(system->name, GENERIC_READ);
  if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) return;
  if (!file) ThrowSystemFailure("cannot read the file");
  if (!QueryStatus(file, system->status)) ThrowSystemFailure("the file is not a regular file");
  if ((system->status.basic.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
    ThrowSystemFailure("the file is read-only", ERROR_ACCESS_DENIED);
  }
  // A rename would check only the right to delete the file.
  if (!OpenExisting(system->name, GENERIC_WRITE)) ThrowSystemFailure("cannot write the file");
  system->state =
      StateAt(CurrentTime(), second, IdentityOf(system->status), ReadAccess(file, system->status));
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  assert(system->original);
  return ReadOpenFile(system->original, system->status, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  const bool replaces = system->original != nullptr;
  if (access == nullptr && replaces) access = system->state->access.get();
  Access wanted;
  if (access != nullptr) wanted = *access;
  TemporaryFile made(FolderPart(system->name), system->hash, wanted.attributes);
  // First, so that only those who could read the old content can read the new.
  made.SetAccessList(wanted.accessList);
  made.Write(pieces);
  made.Finish(system->status.basic.CreationTime);
  // While the flush ran or another program held the file, one that takes no lock may have changed
  // it.
  const auto isUnchanged = [this] { return system->IsUnchanged(); };
  if (!made.RenameTo(system->name, replaces, system->original, isUnchanged)) return false;
  system->original.reset();
  system->state = made.State();
  return true;
}

// Flushing a file also flushes the record of its name, and there is no call for folders. Another
// program may hold the new file already.
void LockedFile::FlushFolder() const {
  const Handle file = TryOpenExisting(system->name, GENERIC_WRITE);
  if (file && !FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");
}

} // namespace platform
