// Replacing a file under a lock. The lock belongs to the file, not to its name, and every save puts
// another file in its place. So once the lock is held the name is looked up again.
#include <linux/limits.h>
#include <sys/file.h>

#include <thread>

#include "platform/file_parts.h"
#include "platform/linux/open_file.h"

namespace platform {

bool FileDescriptor::TryLock() noexcept {
  assert(IsOpen() && !isLocked);
  struct flock lock {}; // the whole file, whatever its length
  lock.l_type = F_WRLCK;
  isLocked = Uninterrupted(fcntl, number, F_OFD_SETLK, &lock) == 0;
  if (isLocked) return true;
  if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL) return true;
  if (errno != EAGAIN && errno != EACCES) return false;
  // A classical lock of this process belongs to the host program. Threads then exclude each other
  // by flock.
  const bool isOwn =
      Uninterrupted(fcntl, number, F_OFD_GETLK, &lock) == 0 && lock.l_pid == getpid();
  isLocked =
      isOwn && (Uninterrupted(flock, number, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK);
  errno = EAGAIN;
  return isLocked;
}

namespace {

bool IsSameFile(const std::optional<FileStatus>& left, const std::optional<FileStatus>& right) {
  return left && right && left->identity.IsSameFile(right->identity);
}

// Opens a folder for calls that take one. If it may be searched but not read, it cannot be flushed.
FileDescriptor OpenFolder(const FileName& folder) {
  const char* const name = folder.empty() ? "." : folder.c_str();
  FileDescriptor open = OpenAt(AT_FDCWD, name, O_RDONLY | O_DIRECTORY);
  if (!open.IsOpen() && errno == EACCES) open = OpenAt(AT_FDCWD, name, O_PATH | O_DIRECTORY);
  if (!open.IsOpen()) ThrowSystemFailure("cannot reach the folder");
  return open;
}

// Throws if the open file must not be replaced, since a rename would check only the folder's
// permissions.
FileStatus RequireReplaceable(const FileDescriptor& file) {
  const std::optional<FileStatus> status = QueryStatus(file.Number());
  if (!status) ThrowSystemFailure("cannot read the file's status");
  const mode_t mode = status->access.mode;
  if (!S_ISREG(mode)) ThrowSystemFailure("the file is not a regular file", EINVAL);
  if ((mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
    ThrowSystemFailure("the file is read-only", EACCES);
  return *status;
}

// The same for each save of the file, so that the next one finds what a killed one left.
std::string TemporaryNameFor(const std::string& fileName) {
  constexpr std::size_t maxLength = 120; // bytes; some file systems allow only 143
  if (fileName.size() <= maxLength) return temporaryPrefix + fileName;
  return TemporaryName(HashName(std::string_view(fileName)));
}

// A new file on its way to its final name. It is removed, unless it gets that name. While it
// exists, it is locked as a file that is being replaced. Every operation throws std::system_error
// or std::bad_alloc, unless it says otherwise. Every removal and rename by name first checks that
// the name still leads to this file.
class TemporaryFile {
 public:
  // preferredName is the name to give it, from which what a killed process left is removed first;
  // to be used by one process at a time. If it is empty or cannot be had, the name is random.
  // The folder must outlive it.
  TemporaryFile(const FileDescriptor& folder, std::string preferredName)
      : folder(folder.Number()), preferredName(std::move(preferredName)) {}
  ~TemporaryFile() { RemoveName(); }
  TemporaryFile(TemporaryFile&&) = delete;

  // Creates the file with the mode, from which the process's umask is taken. Without a name if
  // possible, unless `isNamed`: such a file disappears even if its process is killed, but not every
  // system can name it later.
  void Create(bool isNamed, mode_t mode) {
    if (!isNamed) file = OpenAt(folder, ".", O_TMPFILE | O_WRONLY, mode);
    const auto create = [&] {
      file = OpenAt(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
      return file.IsOpen();
    };
    if (!file.IsOpen() && !CreateName(create))
      ThrowSystemFailure("cannot create a temporary file in the folder");
    status = QueryStatus(file.Number());
    if (!status) ThrowSystemFailure("cannot read the temporary file's status");
    file.TryLock(); // without it, another saver can remove the file, which KeepsName notices
  }

  // Sets the modification time, too. Call once.
  void Write(const std::vector<std::string_view>& pieces) {
    assert(stampedAt == 0); // a later write would change the time
    for (std::string_view piece : pieces) {
      while (!piece.empty()) {
        const ssize_t count = Uninterrupted(write, file.Number(), piece.data(), piece.size());
        if (count <= 0) ThrowSystemFailure("cannot write"); // 0 would be tried forever
        piece.remove_prefix(static_cast<std::size_t>(count));
      }
    }
    // The system's own timestamps come from a clock that advances every few milliseconds, so an
    // edit in between would not show. A failure is noticed when the time is compared.
    stampedAt = CurrentTime();
    const timespec stamp{static_cast<time_t>(stampedAt / second),
                         static_cast<long>(stampedAt % second * 100)};
    const timespec times[] = {{0, UTIME_OMIT}, stamp};
    Uninterrupted(futimens, file.Number(), times);
  }

  // See GiveAccess; without `wanted`, the file keeps the access with which it was created. Also
  // copies label and attributes of an open file, if one is given: first, because only the owner may
  // set them.
  void SetAccess(const std::optional<Access>& wanted, bool ownerLosesNothing, int attributesFrom) {
    if (attributesFrom >= 0) CopyAttributes(attributesFrom, file.Number());
    access = wanted ? GiveAccess(file.Number(), *status, *wanted, ownerLosesNothing)
                    : ReadAccess(file.Number(), *status);
  }

  // Gives the file a name if it has none. False on failure, and errno tells why. Linking by
  // descriptor needs a privilege or a recent kernel; the other way needs /proc.
  bool Link() {
    const auto link = [this] {
      const std::string own = "/proc/self/fd/" + std::to_string(file.Number());
      const auto call = [this](int from, const char* source, int flags) {
        return Uninterrupted(linkat, from, source, folder, name.c_str(), flags) == 0;
      };
      return call(file.Number(), "", AT_EMPTY_PATH) ||
             call(AT_FDCWD, own.c_str(), AT_SYMLINK_FOLLOW);
    };
    return !name.empty() || CreateName(link);
  }

  void Flush() { CheckedCall("cannot flush to the disk", fsync, file.Number()); }

  // Whether its name still leads to it: another process may have removed or replaced it.
  bool KeepsName() const noexcept {
    return !name.empty() && IsSameFile(QueryStatus(folder, name.c_str()), status);
  }

  // Gives the file its final name. False if another file has that name and is not to be replaced.
  bool Rename(const std::string& target, bool replaces) {
    assert(!name.empty() && access != nullptr);
    const unsigned flags = replaces ? 0 : RENAME_NOREPLACE;
    if (Uninterrupted(renameat2, folder, name.c_str(), folder, target.c_str(), flags) == 0) {
      name.clear();
      return true;
    }
    if (replaces) ThrowSystemFailure("cannot replace the file");
    // Not every file system has a rename that replaces nothing.
    if (Uninterrupted(linkat, folder, name.c_str(), folder, target.c_str(), 0) == 0) {
      RemoveName(); // if that fails, the destructor tries again
      return true;
    }
    if (errno != EEXIST) ThrowSystemFailure("cannot name the new file");
    return false;
  }

  // Not settled if the status cannot be read. REQUIRES: it was written.
  FileState State() const noexcept {
    assert(stampedAt != 0);
    const std::optional<FileStatus> now = QueryStatus(file.Number());
    if (!now) return {status->identity, access};
    return StateNow(now->identity, access, stampedAt);
  }

 private:
  // Calls create(), which gives the file its name, with the names that it may have. It fails if the
  // name is in use. False on failure, and errno tells why.
  template <class Create>
  bool CreateName(Create create) {
    name = preferredName; // no file can have an empty one
    if (create() || (RemoveLeftover() && create())) return true;
    name = TemporaryName();
    return create();
  }

  // Removes what a killed process left. False if it is in use, is something else, or cannot be
  // removed.
  bool RemoveLeftover() const noexcept {
    // A pipe must not make this wait, nor a link lead elsewhere.
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;
    FileDescriptor left = OpenAt(folder, preferredName.c_str(), flags);
    if (!left.IsOpen() || !left.TryLock()) return false;
    const std::optional<FileStatus> found = QueryStatus(left.Number());
    return IsSameFile(QueryStatus(folder, preferredName.c_str()), found) &&
           S_ISREG(found->access.mode) &&
           Uninterrupted(unlinkat, folder, preferredName.c_str(), 0) == 0;
  }

  void RemoveName() noexcept {
    if (!status) status = QueryStatus(file.Number()); // after an early failure
    if (KeepsName()) Uninterrupted(unlinkat, folder, name.c_str(), 0);
  }

  const int folder;
  const std::string preferredName;
  std::string name; // empty while the file has no name, and once it has its final one
  FileDescriptor file;
  std::optional<FileStatus> status; // from before it was written; which file it is stays right
  std::int64_t stampedAt = 0;
  std::shared_ptr<const Access> access;
};

} // namespace

struct LockedFile::System {
  FileDescriptor folder;
  std::string name; // in the folder
  std::optional<FileState> state;
  FileDescriptor original; // locked, unless the file system has no locks

  std::optional<FileStatus> Status() const noexcept {
    return QueryStatus(folder.Number(), name.c_str());
  }

  // Finds folder and name of the file, and returns its status, or nothing if there is no file. The
  // system follows links in the folders' names, but a rename would replace a link in the last
  // component.
  std::optional<FileStatus> FollowLinks(FileName path) {
    constexpr int maxLinks = 40;
    for (int links = 0; links <= maxLinks; ++links) {
      folder = OpenFolder(path.parent_path());
      name = path.filename();
      std::optional<FileStatus> status = Status();
      if (!status || !S_ISLNK(status->access.mode)) return status;
      char target[PATH_MAX];
      const ssize_t length = CheckedCall("cannot follow the symbolic link", readlinkat,
                                         folder.Number(), name.c_str(), target, sizeof target);
      assert(length < PATH_MAX);
      path = path.parent_path() / std::string_view(target, static_cast<std::size_t>(length));
    }
    ThrowSystemFailure("cannot follow the symbolic link", ELOOP);
  }

  // Opens and locks the file that the name leads to now. False if another program holds the lock,
  // or if the name led to two files.
  bool TryOpen(const FileName& path, Deadline deadline) {
    std::optional<FileStatus> locked;
    original = OpenUnleased(path, O_RDWR, deadline);
    if (original.IsOpen()) {
      locked = RequireReplaceable(original);
      const bool isLocked = original.TryLock();
      if (!isLocked && errno != EAGAIN) ThrowSystemFailure("cannot lock the file");
      if (!isLocked) return false;
    } else if (errno != ENOENT) {
      ThrowSystemFailure("cannot write the file");
    }
    const std::optional<FileStatus> found = FollowLinks(path);
    if (!locked) return !found;
    // The previous owner of the lock may have replaced the file that is locked now.
    if (!IsSameFile(found, locked)) return false;
    state = StateNow(found->identity, ReadAccess(original.Number(), *found));
    return true;
  }

  // Whether the name still leads to the file as it was found.
  bool IsUnchanged() const noexcept {
    const std::optional<FileStatus> now = Status();
    return now && now->access.mode == state->access->mode && now->identity == state->identity;
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
  assert(system->state);
  return ReadOpenFile(system->original.Number(), system->state->identity.size, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  const auto& [folder, name, state, original] = *system;
  std::optional<Access> wanted;
  if (access != nullptr) wanted = *access;
  if (access != nullptr && state) wanted->mode &= state->access->mode;
  if (access == nullptr && state) wanted = *state->access;
  const int attributesFrom = access == nullptr ? original.Number() : -1;
  // What is to get another access must not be open to others before.
  const mode_t mode = wanted ? S_IRUSR | S_IWUSR : DEFFILEMODE;
  const std::string preferredName = original.IsLocked() ? TemporaryNameFor(name) : "";
  // If the system cannot name an unnamed file, the second attempt uses a named one.
  for (bool isNamed = false;; isNamed = true) {
    TemporaryFile temporary(folder, preferredName);
    temporary.Create(isNamed, mode);
    temporary.Write(pieces);
    temporary.SetAccess(wanted, state.has_value(), attributesFrom);
    if (!temporary.Link()) continue;
    // A file that is flushed while it has no name counts as deleted on a disk without a journal.
    temporary.Flush();
    if (!temporary.KeepsName()) return false;
    // While the flush ran, a program that takes no lock may have changed the file. Nothing may
    // come between this look and the rename.
    if (state && !system->IsUnchanged()) return false;
    if (!temporary.Rename(name, state.has_value())) return false;
    system->state = temporary.State();
    return true;
  }
}

void LockedFile::FlushFolder() const {
  if (Uninterrupted(fsync, system->folder.Number()) == 0) return;
  // EINVAL: the file system cannot flush folders; EBADF: the folder could not be opened for
  // reading.
  if (errno != EINVAL && errno != EBADF) ThrowSystemFailure("cannot flush the folder to the disk");
}

} // namespace platform
