#include <windows.h>
// After windows.h, which it needs.
#include <sddl.h>

#include <cwchar>

#include "platform/files.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_failure.h"
#include "platform/windows/temporary_file.h"

namespace platform {
namespace {

std::wstring_view FolderPart(std::wstring_view name) noexcept { return name.substr(0, name.find_last_of(L"\\/:") + 1); }

bool IsLink(const std::wstring& name) noexcept {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// The name behind all symbolic links, the same for every way there. As given where the volume tells none, and no link is there.
std::wstring FinalName(const Handle& file, const std::wstring& given) {
  std::wstring name(GetFinalPathNameByHandleW(file.Get(), nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
  const auto size = static_cast<DWORD>(name.size());
  const DWORD length = GetFinalPathNameByHandleW(file.Get(), name.data(), size, FILE_NAME_NORMALIZED);
  if (length != 0 && length < size) return std::wstring(name, 0, length);
  if (IsLink(given)) ThrowSystemFailure("cannot follow the symbolic link");
  return given;
}

std::wstring FollowLinks(const std::wstring& name) {
  const Handle file = OpenExisting(name, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (file.IsOpen()) return FinalName(file, name);
  if (GetLastError() != ERROR_FILE_NOT_FOUND) ThrowSystemFailure("cannot reach the file");
  if (IsLink(name)) ThrowSystemFailure("the symbolic link leads to no file", ERROR_FILE_NOT_FOUND);
  const std::wstring folderName(FolderPart(name));
  const Handle folder = OpenExisting(folderName, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (!folder.IsOpen()) ThrowSystemFailure("cannot reach the folder");
  std::wstring final = FinalName(folder, folderName);
  if (!final.ends_with(L'\\')) final += L'\\';
  return final += std::wstring_view(name).substr(folderName.size());
}

// Letters of either case lead to the same file.
std::uint64_t HashName(std::wstring name) noexcept {
  const auto size = static_cast<int>(name.size());
  LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.c_str(), size, name.data(), size, nullptr, nullptr, 0);
  std::uint64_t hash = 14'695'981'039'346'656'037U; // FNV-1a
  for (const wchar_t character : name) hash = (hash ^ character) * 1'099'511'628'211U;
  return hash;
}

// Keeps those out who lock the same file, until it goes.
class FileMutex {
 public:
  // Waits until the system's clock of milliseconds shows `end`.
  FileMutex(const std::wstring& fileName, ULONGLONG end) : mutex(Open(fileName)) {
    const ULONGLONG now = GetTickCount64();
    const DWORD result = WaitForSingleObject(mutex.Get(), now < end ? static_cast<DWORD>(end - now) : 0);
    // Whoever has it abandoned was ended while it saved: the file is whole all the same.
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) {
      ThrowSystemFailure("another program holds the file's lock",
                         result == WAIT_FAILED ? GetLastError() : ERROR_TIMEOUT);
    }
  }
  ~FileMutex() { ReleaseMutex(mutex.Get()); }
  FileMutex(const FileMutex&) = delete;
  FileMutex& operator=(const FileMutex&) = delete;

 private:
  // One for all sessions and users, who may wait for it and give it back, at low integrity too. A process in a sandbox has no
  // such names and shares a mutex with its session alone.
  static Handle Open(const std::wstring& fileName) {
    constexpr DWORD access = SYNCHRONIZE | MUTEX_MODIFY_STATE; // 0x100001
    SECURITY_ATTRIBUTES forAll{sizeof forAll, nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x100001;;;WD)S:(ML;;NW;;;LW)", SDDL_REVISION_1,
                                                              &forAll.lpSecurityDescriptor, nullptr)) {
      ThrowSystemFailure("cannot say who may lock the file");
    }
    const std::unique_ptr<void, decltype(&LocalFree)> descriptor(forAll.lpSecurityDescriptor, &LocalFree);
    wchar_t name[48];
    std::swprintf(name, std::size(name), L"Global\\tarvik-%016llx", HashName(fileName));
    Handle opened(CreateMutexExW(&forAll, name, 0, access));
    if (!opened.IsOpen() && GetLastError() == ERROR_ACCESS_DENIED) {
      opened = Handle(CreateMutexExW(&forAll, std::wcschr(name, L't'), 0, access));
    }
    if (!opened.IsOpen()) ThrowSystemFailure("cannot lock the file");
    return opened;
  }

  Handle mutex;
};

} // namespace

struct LockedFile::System {
  std::wstring name; // behind all links
  std::optional<FileMutex> mutex;
  Handle original; // not open where there is no file
  FileStatus status;
  std::optional<FileState> state;
};

LockedFile::LockedFile(const FileName& name) : system(std::make_unique<System>()) {
  constexpr ULONGLONG longestWait = 10'000;
  const ULONGLONG end = GetTickCount64() + longestWait;
  do {
    system->mutex.reset();
    system->name = FollowLinks(name.native());
    system->mutex.emplace(system->name, end);
  } while (FollowLinks(name.native()) != system->name);

  Handle& file = system->original;
  file = OpenExisting(system->name, GENERIC_READ);
  if (!file.IsOpen() && GetLastError() == ERROR_FILE_NOT_FOUND) return;
  if (!file.IsOpen()) ThrowSystemFailure("cannot read the file");
  if (!AskStatus(file, system->status)) ThrowSystemFailure("cannot replace what is no regular file");
  if ((system->status.basic.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
    ThrowSystemFailure("the file is read-only", ERROR_ACCESS_DENIED);
  }
  // A rename asks for the right to delete it only.
  if (!OpenExisting(system->name, GENERIC_WRITE).IsOpen()) ThrowSystemFailure("cannot write the file");
  system->state = StateOf(system->status);
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  return ReadOpenFile(system->original, system->status, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, std::uint32_t permissions) {
  Handle& original = system->original;
  const FILE_BASIC_INFO& old = system->status.basic;
  const bool replaces = original.IsOpen();
  const DWORD attributes = replaces ? old.FileAttributes : permissions;
  TemporaryFile made(FolderPart(system->name), attributes);
  // First, so that nobody reads the new bytes who could not read the old ones.
  if (replaces) made.TakeOverAccessList(original);
  for (const std::string_view piece : pieces) made.Write(piece);
  original = Handle(); // or it could not be replaced
  const std::optional<FileState> named = made.Name(system->name, replaces, old.CreationTime, attributes);
  if (named) system->state = named;
  return named.has_value();
}

// The rename returns when it is on the disk.
void LockedFile::FlushFolder() const {}

} // namespace platform
