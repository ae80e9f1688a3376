#include <sys/file.h>

#include <chrono>
#include <climits>
#include <thread>

#include "platform/files.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/system_failure.h"
#include "platform/posix/temporary_file.h"

namespace platform {
namespace {

// Where a name leads.
struct Place {
  FileDescriptor folder;
  std::string name;                 // in that folder
  std::optional<FileStatus> status; // nothing where there is no file
};

// Open for the calls that take a folder. One that may be passed but not read can't be flushed.
FileDescriptor OpenFolder(const FileName& folder) {
  const char* const name = folder.empty() ? "." : folder.c_str();
  FileDescriptor open(OpenAt(AT_FDCWD, name, O_RDONLY | O_DIRECTORY));
  if (!open.IsOpen() && errno == EACCES) open = FileDescriptor(OpenAt(AT_FDCWD, name, O_PATH | O_DIRECTORY));
  if (!open.IsOpen()) ThrowSystemFailure("cannot reach the folder");
  return open;
}

// Links among the folders need no care.
Place FollowLinks(FileName name) {
  constexpr int mostLinks = 40;
  for (int links = 0; links < mostLinks; ++links) {
    Place place{OpenFolder(name.parent_path()), name.filename(), FileStatus{}};
    const int result = Uninterrupted(
        [&] { return fstatat(place.folder.Number(), place.name.c_str(), &*place.status, AT_SYMLINK_NOFOLLOW); });
    if (result != 0 && errno != ENOENT) ThrowSystemFailure("cannot tell whether the file is a symbolic link");
    if (result != 0) place.status.reset();
    if (!place.status || !S_ISLNK(place.status->st_mode)) return place;
    char target[PATH_MAX];
    const ssize_t length =
        Uninterrupted([&] { return readlinkat(place.folder.Number(), place.name.c_str(), target, sizeof target); });
    if (length < 0 || length == sizeof target) ThrowSystemFailure("cannot follow the symbolic link");
    name = name.parent_path() / std::string_view(target, static_cast<std::size_t>(length));
  }
  ThrowSystemFailure("cannot follow the symbolic link", ELOOP);
}

// Not open where there is no such file. Throws when it must not be replaced: a rename alone would ask for the folder's
// permissions only.
FileDescriptor OpenReplaceable(const FileName& name, FileStatus& status) {
  constexpr mode_t writeBits = 0222;
  FileDescriptor file(OpenAt(AT_FDCWD, name.c_str(), O_RDWR));
  if (!file.IsOpen() && errno == ENOENT) return file;
  if (!file.IsOpen()) ThrowSystemFailure("cannot write the file");
  if (Uninterrupted([&] { return fstat(file.Number(), &status); }) != 0) ThrowSystemFailure("cannot reach the file");
  if (!S_ISREG(status.st_mode)) ThrowSystemFailure("cannot replace what is no regular file", EINVAL);
  if ((status.st_mode & writeBits) == 0) ThrowSystemFailure("the file is read-only", EACCES);
  return file;
}

int Lock(int file, int command, struct flock& lock, short type) noexcept {
  lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return Uninterrupted([&] { return fcntl(file, command, &lock); });
}

// A lock of the open file, not of the process: threads exclude each other, and closing the file elsewhere does not drop it.
bool TryLock(int file) {
  struct flock lock {};
  if (Lock(file, F_OFD_SETLK, lock, F_WRLCK) == 0) return true;
  if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL) return true; // there are no locks
  if (errno != EAGAIN && errno != EACCES) ThrowSystemFailure("cannot lock the file");
  // A lock of this process as a whole is the host's own. Threads then exclude each other by the other kind of lock.
  if (Lock(file, F_OFD_GETLK, lock, F_WRLCK) != 0 || lock.l_type == F_UNLCK || lock.l_pid != getpid()) return false;
  return Uninterrupted([&] { return flock(file, LOCK_EX | LOCK_NB); }) == 0 || errno != EWOULDBLOCK;
}

} // namespace

struct LockedFile::System {
  ~System() {
    if (!original.IsOpen()) return;
    // Closing is not enough if another thread forked meanwhile, so that the new process has the file open, too.
    struct flock lock {};
    Lock(original.Number(), F_OFD_SETLK, lock, F_UNLCK);
  }

  FileDescriptor original;
  Place place;
  std::optional<FileState> state;
};

LockedFile::LockedFile(const FileName& name) : system(std::make_unique<System>()) {
  constexpr auto longestWait = std::chrono::seconds(10);
  constexpr auto pause = std::chrono::milliseconds(1);
  const auto end = std::chrono::steady_clock::now() + longestWait;
  for (;; std::this_thread::sleep_for(pause)) {
    FileStatus status{};
    FileDescriptor file = OpenReplaceable(name, status);
    if (!file.IsOpen() || TryLock(file.Number())) {
      Place place = FollowLinks(name);
      // Whoever had the lock before put another file in the place of the one that is locked now.
      const bool isThere =
          place.status && place.status->st_dev == status.st_dev && place.status->st_ino == status.st_ino;
      if (isThere == file.IsOpen() && isThere == place.status.has_value()) {
        if (isThere) system->state = StateOf(*place.status);
        system->original = std::move(file);
        system->place = std::move(place);
        return;
      }
    }
    if (std::chrono::steady_clock::now() >= end) ThrowSystemFailure("another program holds the file's lock", ETIMEDOUT);
  }
}

LockedFile::~LockedFile() = default;

const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  return ReadOpenFile(system->original.Number(), *system->place.status, limit, bytes);
}

bool LockedFile::Replace(std::string_view bytes, std::uint32_t permissions) {
  const Place& place = system->place;
  for (bool named = false;; named = true) {
    TemporaryFile made(place.folder, named);
    made.Write(bytes);
    place.status ? made.TakeOver(system->original.Number(), *place.status) : made.SetAccess(permissions);
    made.Flush();
    if (place.status ? made.Replace(place.name) : made.Link(place.name)) {
      system->state = made.State();
      return true;
    }
    if (errno == EEXIST) return false;
    if (made.HasName()) ThrowSystemFailure("cannot name the new file");
  }
}

void LockedFile::FlushFolder() const {
  if (Uninterrupted([&] { return fsync(system->place.folder.Number()); }) == 0) return;
  if (errno != EINVAL && errno != EBADF) ThrowSystemFailure("cannot flush the folder to the disk");
}

} // namespace platform
