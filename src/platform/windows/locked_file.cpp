// Replacing a file under a lock. The lock is a mutex named after the file's final path, since a
// lock on the file itself would keep other programs from reading it.
#include <windows.h>
// After windows.h, which it needs.
#include <sddl.h>

#include <cassert>
#include <cstring>
#include <cwchar>

#include "platform/file_parts.h"
#include "platform/windows/open_file.h"

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

// Locks the file against others that do the same, until the mutex that it returns is released.
Handle AcquireLock(std::uint64_t hash, Deadline deadline) {
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
  return mutex;
}

// The new file of a save on its way to its final name. Until its content is on the disk it is
// marked to be deleted when it is closed, so a process that is killed leaves nothing behind. It is
// hidden, and removed unless it gets its final name. Every operation throws std::system_error or
// std::bad_alloc.
class TemporaryFile {
 public:
  // Creates a file in the folder, whose name ends in a separator. `number` is in the file's name:
  // what a killed process left under it is removed first; if that is in use, the name is random.
  // `attributes` are those of the final file.
  TemporaryFile(std::wstring_view folder, std::uint64_t number, DWORD attributes)
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
    SetDeleteOnClose(true);
  }

  ~TemporaryFile() {
    if (!name.empty()) SetDeleteOnClose(true);
  }
  TemporaryFile(TemporaryFile&&) = delete;

  // Gives the file this access list, unless it has an equal one by inheritance. REQUIRES: nothing
  // was written yet.
  void SetAccessList(const std::vector<unsigned char>& list) {
    if (list.empty() || AreEqualAccessLists(list, ReadAccessList(file))) return;
    // A share can grant all that a save needs but this right, so only this handle has it.
    SetDeleteOnClose(false);
    const Handle forList = OpenExisting(name, WRITE_DAC);
    const bool isWritten = forList && WriteAccessList(forList, list);
    const DWORD error = GetLastError();
    SetDeleteOnClose(true);
    if (!isWritten) ThrowSystemFailure("cannot copy the file's access list", error);
  }

  void Write(const std::vector<std::string_view>& pieces) {
    assert(file && stampedAt == 0); // a later write would change the time
    constexpr std::size_t maxSize = std::size_t{1} << 30;
    for (std::string_view piece : pieces) {
      while (!piece.empty()) {
        const auto size = static_cast<DWORD>(std::min(piece.size(), maxSize));
        DWORD count = 0;
        if (!WriteFile(file.get(), piece.data(), size, &count, nullptr))
          ThrowSystemFailure("cannot write");
        if (count == 0) ThrowSystemFailure("cannot write", ERROR_DISK_FULL);
        piece.remove_prefix(count);
      }
    }
  }

  // Sets the file's times and flushes it. creationTime 0: now. REQUIRES: all is written.
  void Finish(LARGE_INTEGER creationTime) {
    stampedAt = CurrentTime();
    FILE_BASIC_INFO basic{};
    basic.CreationTime = creationTime;
    basic.LastWriteTime.QuadPart = stampedAt + start1970;
    SetAttributes(basic, finalAttributes | FILE_ATTRIBUTE_HIDDEN);
    if (!FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");

    SetDeleteOnClose(false);
    named = OpenExisting(name, FILE_READ_ATTRIBUTES | READ_CONTROL);
    if (named) status = QueryStatus(named);
    if (!status) ThrowSystemFailure("cannot read the file's status");
  }

  // Gives the file its final name, and shows it unless it is to be hidden. Closes `original`, the
  // file that is to be replaced, on systems that cannot replace an open file. False if
  // `replaces` is false and a file has that name, or if isUnchanged(), which is called directly
  // before each attempt, is false. REQUIRES: Finish was called.
  template <class Test>
  bool RenameTo(const std::wstring& target, bool replaces, Handle& original, Test isUnchanged) {
    assert(named);
    if ((finalAttributes & FILE_ATTRIBUTE_HIDDEN) == 0) SetAttributes({}, finalAttributes);
    const DWORD flags = replaces ? replaceIfExists : 0;
    bool isChanged = false;
    const auto rename = [&] {
      isChanged = !isUnchanged();
      if (isChanged || Rename(target, fileRenameInfoEx, flags | posixSemantics)) return true;
      // The errors of systems, file systems and servers that lack the newer way.
      const DWORD error = GetLastError();
      if (error != ERROR_INVALID_FUNCTION && error != ERROR_NOT_SUPPORTED &&
          error != ERROR_INVALID_PARAMETER)
        return false;
      original.reset();
      return Rename(target, FileRenameInfo, flags);
    };
    if (!RetryWhileInUse(rename, [&] { return IsReplaceableLater(target); })) {
      const DWORD error = GetLastError();
      if (!replaces && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
      ThrowSystemFailure("cannot replace the file", error);
    }
    if (!isChanged) name.clear();
    return !isChanged;
  }

  // Closes the file. REQUIRES: it has its final name.
  FileState State() {
    assert(name.empty());
    file.reset();
    std::optional<FileStatus> now = QueryStatus(named);
    if (!now) return {};
    now->identity.device = status->identity.device; // Wine forgets it when the file is renamed
    return StateNow(now->identity, ReadAccess(named, *now), stampedAt);
  }

 private:
  // Not in the compiler's headers for all versions of Windows.
  static constexpr auto fileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  static constexpr DWORD replaceIfExists = 1, posixSemantics = 2;

  // Even if the process is killed.
  void SetDeleteOnClose(bool isDeleted) const noexcept {
    FILE_DISPOSITION_INFO disposition{isDeleted};
    SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
  }

  // Of the attributes, only those that can be set.
  void SetAttributes(FILE_BASIC_INFO basic, DWORD attributes) const {
    constexpr DWORD settable =
        FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;
    basic.FileAttributes = (attributes & settable) | FILE_ATTRIBUTE_ARCHIVE;
    if (!SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic))
      ThrowSystemFailure("cannot copy the file's attributes");
  }

  // False on failure, and GetLastError tells why. Unlike a rename by name, it cannot meet another
  // file. ReplaceFile is not used, because it removes the old file before the new one has its name:
  // a crash in between leaves none.
  bool Rename(const std::wstring& target, FILE_INFO_BY_HANDLE_CLASS way, DWORD flags) const {
    static_assert(offsetof(FILE_RENAME_INFO, ReplaceIfExists) == 0, "the flags' place");
    FILE_RENAME_INFO info{};
    info.FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
    std::vector<char> request(sizeof info + info.FileNameLength);
    std::memcpy(request.data(), &info, sizeof info);
    std::memcpy(request.data(), &flags, sizeof flags);
    std::memcpy(request.data() + offsetof(FILE_RENAME_INFO, FileName), target.data(),
                info.FileNameLength);
    return SetFileInformationByHandle(file.get(), way, request.data(),
                                      static_cast<DWORD>(request.size()));
  }

  // Whether a file that could not be replaced may be replaceable later. Access is denied both if
  // another program has it open, and if this one may not delete it, which opening it shows.
  static bool IsReplaceableLater(const std::wstring& target) noexcept {
    if (IsInUse()) return true;
    if (GetLastError() != ERROR_ACCESS_DENIED) return false;
    const bool isDeletable = TryOpenExisting(target, DELETE) || IsInUse();
    SetLastError(ERROR_ACCESS_DENIED);
    return isDeletable;
  }

  const DWORD finalAttributes;
  std::wstring name;                // empty once it is the final one
  Handle file;                      // excludes other programs
  Handle named;                     // for the state; excludes no one
  std::optional<FileStatus> status; // before the rename
  std::int64_t stampedAt = 0;
};

} // namespace

struct LockedFile::System {
  ~System() {
    if (mutex) ReleaseMutex(mutex.get());
  }

  std::wstring name;      // with all links resolved
  std::uint64_t hash = 0; // of the name
  Handle mutex;           // held
  Handle original;        // null if there is no file
  LARGE_INTEGER creationTime{};
  std::optional<FileState> state;

  // Whether the name still leads to the file as it was found, or still to none.
  bool IsUnchanged() const noexcept {
    const Handle now = OpenExisting(name, FILE_READ_ATTRIBUTES);
    if (!now) return !state && GetLastError() == ERROR_FILE_NOT_FOUND;
    const std::optional<FileStatus> found = QueryStatus(now);
    return state && found && found->identity == state->identity;
  }
};

LockedFile::LockedFile(const FileName& name, Deadline deadline) {
  // A link can be changed while this waits for the lock of its old target.
  do {
    system = std::make_unique<System>();
    system->name = FollowLinks(name.native());
    system->hash = HashFolded(system->name);
    system->mutex = AcquireLock(system->hash, deadline);
  } while (FollowLinks(name.native()) != system->name);

  Handle& file = system->original;
  file = OpenExisting(system->name, GENERIC_READ);
  if (!file && GetLastError() == ERROR_FILE_NOT_FOUND) return;
  if (!file) ThrowSystemFailure("cannot read the file");
  const std::optional<FileStatus> status = QueryStatus(file);
  if (!status) ThrowSystemFailure("the file is not a regular file");
  if ((status->attributes & FILE_ATTRIBUTE_READONLY) != 0)
    ThrowSystemFailure("the file is read-only", ERROR_ACCESS_DENIED);
  // A rename would check only the right to delete the file.
  if (!OpenExisting(system->name, GENERIC_WRITE)) ThrowSystemFailure("cannot write the file");
  system->creationTime = status->creationTime;
  system->state = StateNow(status->identity, ReadAccess(file, *status));
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  assert(system->state);
  return ReadOpenFile(system->original, system->state->identity.size, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  const bool replaces = system->original != nullptr;
  if (access == nullptr && replaces) access = system->state->access.get();
  Access wanted;
  if (access != nullptr) wanted = *access;
  TemporaryFile temporary(FolderPart(system->name), system->hash, wanted.attributes);
  // First, so that only those who could read the old content can read the new.
  temporary.SetAccessList(wanted.accessList);
  temporary.Write(pieces);
  temporary.Finish(system->creationTime);
  // While the flush ran or another program held the file, one that takes no lock may have changed
  // it.
  const auto isUnchanged = [this] { return system->IsUnchanged(); };
  if (!temporary.RenameTo(system->name, replaces, system->original, isUnchanged)) return false;
  system->original.reset();
  system->state = temporary.State();
  return true;
}

// Flushing a file also flushes the record of its name, and there is no call for folders. Another
// program may hold the new file already.
void LockedFile::FlushFolder() const {
  const Handle file = TryOpenExisting(system->name, GENERIC_WRITE);
  if (file && !FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");
}

} // namespace platform
