#include <linux/limits.h>
#include <sys/file.h>
#include <sys/xattr.h>

#include <cassert>
#include <chrono>
#include <thread>

#include "platform/file_parts.h"
#include "platform/linux/file_descriptor.h"

namespace platform {
namespace {

constexpr mode_t modeUntilTakenOver = S_IRUSR | S_IWUSR;
constexpr const char* accessList = "system.posix_acl_access";

// The value of a file's extended attribute, or the names of all if no name is given; nothing if
// there is none.
std::optional<std::string> ReadAttribute(int file, const char* name = nullptr) {
  constexpr std::size_t mostBytes = XATTR_SIZE_MAX;
  static_assert(XATTR_LIST_MAX <= mostBytes);
  const auto bytes = std::make_unique_for_overwrite<char[]>(mostBytes);
  const ssize_t size = name == nullptr
                           ? Uninterrupted(flistxattr, file, bytes.get(), mostBytes)
                           : Uninterrupted(fgetxattr, file, name, bytes.get(), mostBytes);
  if (size >= 0) return std::string(bytes.get(), static_cast<std::size_t>(size));
  if (errno != ENODATA && errno != EOPNOTSUPP)
    ThrowSystemFailure("cannot read the file's attributes");
  return std::nullopt;
}

// The others belong to the system or describe the file's content.
bool IsTakenOver(std::string_view name) noexcept {
  return name == accessList || name == "security.selinux" || name == "security.SMACK64" ||
         name.starts_with("user.");
}

// Attributes that the new file already has are not set again, since the process may lack the right
// to set them.
void CopyAttributes(int original, int copy) {
  const std::string names = ReadAttribute(original).value_or("");
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    const char* const name = names.data() + at;
    const std::optional<std::string> value =
        IsTakenOver(name) ? ReadAttribute(original, name) : std::nullopt;
    if (!value || ReadAttribute(copy, name) == value) continue;
    Require("cannot take over the file's access list, security label or attributes", fsetxattr,
            copy, name, value->data(), value->size(), 0);
  }
}

// A new file that gets its name when it is complete, and is removed otherwise. Every operation
// throws std::system_error or std::bad_alloc.
class TemporaryFile {
 public:
  // Creates the file in the folder, which must outlive it; without a name if possible, unless
  // `named`. A file without a name disappears even if its process is killed, but not every system
  // can name it later.
  TemporaryFile(const FileDescriptor& inFolder, bool named) : folder(inFolder.Number()) {
    if (!named) file = OpenAt(folder, ".", O_TMPFILE | O_WRONLY, modeUntilTakenOver);
    if (file.IsOpen()) return;
    std::string unused = TemporaryName();
    file = OpenAt(folder, unused.c_str(), O_WRONLY | O_CREAT | O_EXCL, modeUntilTakenOver);
    if (!file.IsOpen()) ThrowSystemFailure("cannot create a temporary file in the folder");
    name = std::move(unused);
  }
  ~TemporaryFile() {
    if (HasName()) Uninterrupted(unlinkat, folder, name.c_str(), 0);
  }
  TemporaryFile(TemporaryFile&&) = delete;

  void Write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = Uninterrupted(write, file.Number(), bytes.data(), bytes.size());
      if (count <= 0) ThrowSystemFailure("cannot write");
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  // Sets the modification time, once all is written.
  void Stamp() {
    constexpr std::int64_t finestUnit =
        100; // nanoseconds; some file systems store times in this unit
    // The system's own timestamps come from a clock that advances every few milliseconds, so an
    // edit in between would not show. A failure is noticed when the time is compared.
    stampedAt = CurrentTime() / finestUnit * finestUnit;
    const timespec stamp{static_cast<std::time_t>(stampedAt / second),
                         static_cast<long>(stampedAt % second)};
    const timespec times[] = {{0, UTIME_OMIT}, stamp};
    Uninterrupted(futimens, file.Number(), times);
  }

  // Copies owner and group if allowed, access list, security label, user attributes, and mode.
  void TakeOver(int original, const FileStatus& originalStatus) {
    FileStatus own{};
    Require("cannot ask for the temporary file's owner", fstat, file.Number(), &own);
    const auto change = [&](uid_t owner) {
      return Uninterrupted(fchown, file.Number(), owner, originalStatus.st_gid) == 0;
    };

    // The owner comes first, because changing it clears the set-user-ID and set-group-ID bits.
    // These are kept only if both owner and group are, and the group's permissions only if the
    // group is.
    mode_t mode = originalStatus.st_mode & ~mode_t{S_IFMT};
    const bool groupIsSame = own.st_gid == originalStatus.st_gid;
    if (!(groupIsSame && own.st_uid == originalStatus.st_uid) && !change(originalStatus.st_uid)) {
      mode &= accessBits;
      if (!groupIsSame && !change(own.st_uid))
        mode = (mode & ~mode_t{S_IRWXG}) | (mode & S_IRWXO) << 3;
    }
    SetAccess(mode, original);
  }

  // Sets the mode, and copies the access list, label and attributes of an open file if one is
  // given.
  void SetAccess(mode_t mode, int attributesFrom = -1) {
    // The new file may have inherited an access list from the folder that allows more than the
    // mode.
    const bool isRemoved = Uninterrupted(fremovexattr, file.Number(), accessList) == 0;
    if (!isRemoved && errno != ENODATA && errno != EOPNOTSUPP)
      ThrowSystemFailure("cannot remove the folder's access list");
    if (attributesFrom >= 0) CopyAttributes(attributesFrom, file.Number());
    Require("cannot set the file's permissions", fchmod, file.Number(), mode);
  }

  void Flush() {
    FileStatus status{};
    Require("cannot ask for the new file's mode", fstat, file.Number(), &status);
    access = AccessOf(status);
    Require("cannot flush to the disk", fsync, file.Number());
  }

  // Both give the file its final name; on failure they return false, and errno tells why. Link
  // fails with EEXIST if a file has the name; Replace replaces that file.
  bool Link(const std::string& target) {
    const auto link = [&](int from, const std::string& source, int flags) {
      return Uninterrupted(linkat, from, source.c_str(), folder, target.c_str(), flags) == 0;
    };
    // Linking by descriptor needs a privilege or a recent kernel. If linking is not possible, a
    // temporary name is renamed.
    const bool isLinked =
        HasName() ? link(folder, name, 0) : link(file.Number(), "", AT_EMPTY_PATH);
    if (isLinked || errno == EEXIST) return isLinked;
    if (!HasName())
      return link(AT_FDCWD, "/proc/self/fd/" + std::to_string(file.Number()), AT_SYMLINK_FOLLOW);
    constexpr unsigned flags = RENAME_NOREPLACE;
    if (Uninterrupted(renameat2, folder, name.c_str(), folder, target.c_str(), flags) != 0)
      return false;
    name.clear();
    return true;
  }

  bool Replace(const std::string& target) {
    if (!HasName()) {
      std::string unused = TemporaryName();
      if (!Link(unused)) return false;
      name = std::move(unused);
    }
    Require("cannot replace the file", renameat, folder, name.c_str(), folder, target.c_str());
    name.clear();
    return true;
  }

  bool HasName() const noexcept { return !name.empty(); }

  // REQUIRES: it was stamped.
  FileState State() const noexcept {
    assert(stampedAt != 0);
    FileStatus status{};
    if (Uninterrupted(fstat, file.Number(), &status) != 0) return {};
    return StateOf(status, access, stampedAt);
  }

 private:
  const int folder;
  std::string name; // empty while the file has no name, and once it has its final one
  FileDescriptor file;
  std::int64_t stampedAt = 0;
  std::shared_ptr<const Access> access;
};

// Where a name leads.
struct Place {
  FileDescriptor folder;
  std::string name;                 // in that folder
  std::optional<FileStatus> status; // nothing if there is no file

  // Gets the status of the name itself, even if it is a link. Not 0 on failure, with errno.
  int Ask(FileStatus& now) const noexcept {
    return Uninterrupted(fstatat, folder.Number(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW);
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
Place FollowLinks(FileName name) {
  constexpr int mostLinks = 40;
  for (int links = 0; links <= mostLinks; ++links) {
    Place place{OpenFolder(name.parent_path()), name.filename(), FileStatus{}};
    const int result = place.Ask(*place.status);
    if (result != 0 && errno != ENOENT)
      ThrowSystemFailure("cannot tell whether the file is a symbolic link");
    if (result != 0) place.status.reset();
    if (!place.status || !S_ISLNK(place.status->st_mode)) return place;
    char target[PATH_MAX];
    const ssize_t length =
        Require("cannot follow the symbolic link", readlinkat, place.folder.Number(),
                place.name.c_str(), target, sizeof target);
    if (length == sizeof target) break;
    name = name.parent_path() / std::string_view(target, static_cast<std::size_t>(length));
  }
  ThrowSystemFailure("cannot follow the symbolic link", ELOOP);
}

// Not open if there is no such file. Throws if the file must not be replaced, since a rename would
// check only the folder's permissions.
FileDescriptor OpenReplaceable(const FileName& name, FileStatus& status) {
  FileDescriptor file = OpenAt(AT_FDCWD, name.c_str(), O_RDWR);
  if (!file.IsOpen() && errno == ENOENT) return file;
  if (!file.IsOpen()) ThrowSystemFailure("cannot write the file");
  Require("cannot reach the file", fstat, file.Number(), &status);
  if (!S_ISREG(status.st_mode))
    ThrowSystemFailure("cannot replace what is no regular file", EINVAL);
  if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
    ThrowSystemFailure("the file is read-only", EACCES);
  return file;
}

// Covers the whole file, whatever its length.
int Lock(int file, int command, struct flock& lock, short type) noexcept {
  lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return Uninterrupted(fcntl, file, command, &lock);
}

// Locks the open file description, not the process: threads exclude each other, and closing the
// file elsewhere keeps the lock.
bool TryLock(int file) {
  struct flock lock {};
  if (Lock(file, F_OFD_SETLK, lock, F_WRLCK) == 0) return true;
  if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL)
    return true; // no locks here
  if (errno != EAGAIN && errno != EACCES) ThrowSystemFailure("cannot lock the file");
  // A classical lock of this process belongs to the host program. Threads then exclude each other
  // by flock.
  if (Lock(file, F_OFD_GETLK, lock, F_WRLCK) != 0 || lock.l_type == F_UNLCK ||
      lock.l_pid != getpid())
    return false;
  return Uninterrupted(flock, file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

} // namespace

struct LockedFile::System {
  ~System() {
    if (!original.IsOpen()) return;
    // Closing does not unlock if another thread has forked, because the new process also has the
    // file open.
    struct flock lock {};
    Lock(original.Number(), F_OFD_SETLK, lock, F_UNLCK);
  }

  FileDescriptor original;
  Place place;
  std::optional<FileState> state;
};

LockedFile::LockedFile(const FileName& name, Deadline deadline)
    : system(std::make_unique<System>()) {
  constexpr auto pause = std::chrono::milliseconds(1);
  for (;; std::this_thread::sleep_for(pause)) {
    FileStatus status{};
    FileDescriptor file = OpenReplaceable(name, status);
    if (!file.IsOpen() || TryLock(file.Number())) {
      Place place = FollowLinks(name);
      // The previous owner of the lock may have replaced the file that is locked now.
      const bool isThere = place.status && place.status->st_dev == status.st_dev &&
                           place.status->st_ino == status.st_ino;
      if (isThere == file.IsOpen() && isThere == place.status.has_value()) {
        if (isThere) system->state = StateOf(*place.status, AccessOf(*place.status));
        system->original = std::move(file);
        system->place = std::move(place);
        return;
      }
    }
    if (std::chrono::steady_clock::now() >= deadline)
      ThrowSystemFailure("another program holds the file's lock", ETIMEDOUT);
  }
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  assert(system->place.status);
  return ReadOpenFile(system->original.Number(), *system->place.status, limit, bytes);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access* access) {
  const Place& place = system->place;
  // If the system cannot name an unnamed file, the second attempt uses a named one.
  for (bool named = false;; named = true) {
    TemporaryFile made(place.folder, named);
    for (const std::string_view piece : pieces) made.Write(piece);
    made.Stamp();
    place.status ? made.TakeOver(system->original.Number(), *place.status)
                 : made.SetAccess(access != nullptr ? access->mode : modeUntilTakenOver);
    made.Flush();
    // While the flush ran, a program that takes no lock may have changed the file.
    FileStatus now{};
    if (place.status &&
        (place.Ask(now) != 0 || StateOf(now, nullptr).identity != system->state->identity))
      return false;
    if (place.status ? made.Replace(place.name) : made.Link(place.name)) {
      system->state = made.State();
      return true;
    }
    if (errno == EEXIST) return false;
    if (made.HasName()) ThrowSystemFailure("cannot name the new file");
  }
}

void LockedFile::FlushFolder() const {
  if (Uninterrupted(fsync, system->place.folder.Number()) == 0) return;
  // EINVAL: the file system cannot flush folders; EBADF: the folder could not be opened for
  // reading.
  if (errno != EINVAL && errno != EBADF) ThrowSystemFailure("cannot flush the folder to the disk");
}

} // namespace platform
