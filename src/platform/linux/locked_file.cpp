// Replacing a file under a lock. The lock belongs to the file, not to its name, and every save puts
// another file in its place. So once the lock is held the name is looked up again.
#include <linux/limits.h>

#include <thread>

#include "platform/linux/temporary_file.h"

namespace platform {
namespace {

// A name in an open folder.
struct Entry {
  FileDescriptor folder;
  std::string name;
  std::optional<FileStatus> status; // nothing if there is no file

  // Reads the status of the name itself, even if it is a link. Not 0 on failure, with errno.
  int ReadStatus(FileStatus& now) const noexcept {
    return QueryStatus(folder.Number(), name.c_str(), &now);
  }
};

// Opens a folder for calls that take one. If it may be searched but not read, it cannot be flushed.
FileDescriptor OpenFolder(const FileName& folder) {
  const char* const name = folder.empty() ? "." : folder.c_str();
  FileDescriptor open = OpenAt(AT_FDCWD, name, O_RDONLY | O_DIRECTORY);
  if (!open.IsOpen() && errno == EACCES) open = OpenAt(AT_FDCWD, name, O_PATH | O_DIRECTORY);
  if (!open.IsOpen()) ThrowSystemFailure("cannot reach the folder");
  return open;
}

// The system follows links in the folders' names, but a rename would replace a link in the last
// component.
Entry FollowLinks(FileName name) {
  constexpr int maxLinks = 40;
  for (int links = 0; links <= maxLinks; ++links) {
    Entry entry{OpenFolder(name.parent_path()), name.filename(), FileStatus{}};
    const int result = entry.ReadStatus(*entry.status);
    if (result != 0 && errno != ENOENT)
      ThrowSystemFailure("cannot tell whether the file is a symbolic link");
    if (result != 0) entry.status.reset();
    if (!entry.status || !S_ISLNK(entry.status->stx_mode)) return entry;
    char target[PATH_MAX];
    const ssize_t length =
        CheckedCall("cannot follow the symbolic link", readlinkat, entry.folder.Number(),
                    entry.name.c_str(), target, sizeof target);
    if (length == sizeof target) break;
    name = name.parent_path() / std::string_view(target, static_cast<std::size_t>(length));
  }
  ThrowSystemFailure("cannot follow the symbolic link", ELOOP);
}

// Not open if there is no such file. Throws if the file must not be replaced, since a rename would
// check only the folder's permissions.
FileDescriptor OpenReplaceable(const FileName& name, Deadline deadline, FileStatus& status) {
  FileDescriptor file = OpenUnleased(name, O_RDWR, deadline);
  if (!file.IsOpen() && errno == ENOENT) return file;
  if (!file.IsOpen()) ThrowSystemFailure("cannot write the file");
  CheckedCall("cannot read the file's status", QueryStatus, file.Number(), "", &status);
  if (!S_ISREG(status.stx_mode)) ThrowSystemFailure("the file is not a regular file", EINVAL);
  if ((status.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
    ThrowSystemFailure("the file is read-only", EACCES);
  return file;
}

// The same for each save of the file, so that the next one finds what a killed one left.
std::string TemporaryNameFor(const std::string& fileName) {
  constexpr std::size_t maxLength = 120; // bytes; some file systems allow only 143
  if (fileName.size() <= maxLength) return temporaryPrefix + fileName;
  return TemporaryName(HashName(std::string_view(fileName)));
}

} // namespace

struct LockedFile::System {
  ~System() {
    if (isLocked) Unlock(original.Number());
  }

  FileDescriptor original;
  bool isLocked = false; // false also on a file system without locks
  Entry entry;
  std::optional<FileState> state;

  // Opens and locks the file that the name leads to now. False if another program holds the lock,
  // or if the name led to two files.
  bool TryOpen(const FileName& name, Deadline deadline) {
    FileStatus status{};
    FileDescriptor file = OpenReplaceable(name, deadline, status);
    const LockResult result = file.IsOpen() ? TryLock(file.Number()) : LockResult::Unsupported;
    if (result == LockResult::Failed) ThrowSystemFailure("cannot lock the file");
    if (result == LockResult::HeldByOthers) return false;
    // From here on the destructor unlocks.
    original = std::move(file);
    isLocked = result == LockResult::Locked;
    entry = FollowLinks(name);
    // The previous owner of the lock may have replaced the file that is locked now.
    if (!original.IsOpen()) return !entry.status;
    if (!entry.status || !IsSameFile(*entry.status, status)) return false;
    state = StateAt(CurrentTime(), second, IdentityOf(*entry.status),
                    ReadAccess(original.Number(), *entry.status));
    return true;
  }

  // Whether the name still leads to the file as it was found.
  bool IsUnchanged() const noexcept {
    assert(entry.status);
    FileStatus now{};
    return entry.ReadStatus(now) == 0 && now.stx_mode == entry.status->stx_mode &&
           IdentityOf(now) == IdentityOf(*entry.status);
  }

  // What the new file gets; see Replace.
  std::optional<Access> WantedAccess(const Access* access) const {
    if (access == nullptr && !state) return std::nullopt;
    if (access == nullptr) return *state->access;
    Access wanted = *access;
    if (state) wanted.mode &= entry.status->stx_mode;
    return wanted;
  }
};

LockedFile::LockedFile(const FileName& name, Deadline deadline) {
  for (;; std::this_thread::sleep_for(retryPause)) {
    system = std::make_unique<System>();
    if (system->TryOpen(name, deadline)) return;
    if (std::chrono::steady_clock::now() >= deadline)
      ThrowSystemFailure("another program holds the file's lock", ETIMEDOUT);
  }
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  assert(system->entry.status);
  return ReadOpenFile(system->original.Number(), *system->entry.status, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  const Entry& entry = system->entry;
  const std::optional<Access> wanted = system->WantedAccess(access);
  const int attributesFrom = access == nullptr ? system->original.Number() : -1;
  // What is to get another access must not be open to others before.
  const mode_t mode = wanted ? S_IRUSR | S_IWUSR : DEFFILEMODE;
  const std::string preferredName = system->isLocked ? TemporaryNameFor(entry.name) : "";
  // If the system cannot name an unnamed file, the second attempt uses a named one.
  for (bool isNamed = false;; isNamed = true) {
    TemporaryFile temporary(entry.folder.Number(), preferredName, isNamed, mode);
    temporary.Write(pieces);
    temporary.SetAccess(wanted, system->state.has_value(), attributesFrom);
    if (!temporary.Link()) continue;
    // A file that is flushed while it has no name counts as deleted on a disk without a journal.
    temporary.Flush();
    if (!temporary.KeepsName()) return false;
    if (!entry.status && !temporary.RenameToUnused(entry.name)) return false;
    if (entry.status) {
      // While the flush ran, a program that takes no lock may have changed the file. Nothing may
      // come between this look and the rename.
      if (!system->IsUnchanged()) return false;
      temporary.RenameOver(entry.name);
    }
    system->state = temporary.State();
    return true;
  }
}

void LockedFile::FlushFolder() const {
  if (Uninterrupted(fsync, system->entry.folder.Number()) == 0) return;
  // EINVAL: the file system cannot flush folders; EBADF: the folder could not be opened for
  // reading.
  if (errno != EINVAL && errno != EBADF) ThrowSystemFailure("cannot flush the folder to the disk");
}

} // namespace platform
