// The new file of a save. It has no name while it is written, where the system allows that, so a
// process that is killed leaves nothing behind. Every removal and rename by name first checks that
// the name still leads to this file.
#include "platform/linux/temporary_file.h"

#include <cassert>

#include "platform/file_parts.h"
#include "platform/linux/file_lock.h"

namespace platform {
namespace {

// Removes what a killed process left. False if it is in use, is something else, or cannot be
// removed.
bool RemoveLeftover(int folder, const std::string& name) noexcept {
  // A pipe must not make this wait, nor a link lead elsewhere.
  const FileDescriptor file = OpenAt(folder, name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK);
  FileStatus status{};
  return file.IsOpen() && Uninterrupted(fstat, file.Number(), &status) == 0 &&
         S_ISREG(status.st_mode) && TryLock(file.Number()) == LockResult::Locked &&
         LeadsTo(folder, name, status) && Uninterrupted(unlinkat, folder, name.c_str(), 0) == 0;
}

} // namespace

bool LeadsTo(int folder, const std::string& name, const FileStatus& file) noexcept {
  FileStatus found{};
  return Uninterrupted(fstatat, folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
         found.st_dev == file.st_dev && found.st_ino == file.st_ino;
}

TemporaryFile::TemporaryFile(int inFolder, std::string wantedName, bool isNamed, mode_t mode)
    : folder(inFolder), preferredName(std::move(wantedName)) {
  if (!isNamed) file = OpenAt(folder, ".", O_TMPFILE | O_WRONLY, mode);
  const auto create = [this, mode](const std::string& unused) {
    file = OpenAt(folder, unused.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
    return file.IsOpen();
  };
  if (!file.IsOpen() && !CreateName(create))
    ThrowSystemFailure("cannot create a temporary file in the folder");
  if (Uninterrupted(fstat, file.Number(), &status) == 0 &&
      TryLock(file.Number()) != LockResult::Failed)
    return;
  const int error = errno;
  Uninterrupted(fstat, file.Number(), &status); // it may be this call that failed
  RemoveName();
  ThrowSystemFailure("cannot lock the temporary file", error);
}

TemporaryFile::~TemporaryFile() {
  RemoveName();
  Unlock(file.Number());
}

void TemporaryFile::RemoveName() noexcept {
  if (KeepsName() && Uninterrupted(unlinkat, folder, name.c_str(), 0) == 0) name.clear();
}

// Calls create(name) until it succeeds. It fails with EEXIST if the name is in use.
template <class Create>
bool TemporaryFile::CreateName(Create create) {
  const auto isCreated = [&](std::string unused) {
    if (!create(unused)) return false;
    name = std::move(unused); // cannot fail
    return true;
  };
  if (!preferredName.empty() &&
      (isCreated(preferredName) ||
       (errno == EEXIST && RemoveLeftover(folder, preferredName) && isCreated(preferredName))))
    return true;
  return isCreated(TemporaryName());
}

void TemporaryFile::Write(std::string_view bytes) {
  assert(stampedAt == 0); // a later write would change the time
  while (!bytes.empty()) {
    const ssize_t count = Uninterrupted(write, file.Number(), bytes.data(), bytes.size());
    if (count <= 0) ThrowSystemFailure("cannot write");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void TemporaryFile::Stamp() noexcept {
  constexpr std::int64_t finestUnit =
      100; // nanoseconds; some file systems store times in this unit
  // The system's own timestamps come from a clock that advances every few milliseconds, so an edit
  // in between would not show. A failure is noticed when the time is compared.
  stampedAt = CurrentTime() / finestUnit * finestUnit;
  const timespec stamp{static_cast<std::time_t>(stampedAt / second),
                       static_cast<long>(stampedAt % second)};
  const timespec times[] = {{0, UTIME_OMIT}, stamp};
  Uninterrupted(futimens, file.Number(), times);
}

// Attributes come first, because only the owner may set them.
void TemporaryFile::SetAccess(const std::optional<Access>& wanted, bool ownerLosesNothing,
                              int attributesFrom) {
  if (attributesFrom >= 0) CopyAttributes(attributesFrom, file.Number());
  Access given = ReadAccess(file.Number(), status);
  if (wanted) given = GiveAccess(file.Number(), *wanted, ownerLosesNothing);
  access = std::make_shared<const Access>(std::move(given));
}

// Linking by descriptor needs a privilege or a recent kernel; the other way needs /proc.
bool TemporaryFile::Link() {
  const auto link = [this](const std::string& unused) {
    const auto call = [&](int from, const std::string& source, int flags) {
      return Uninterrupted(linkat, from, source.c_str(), folder, unused.c_str(), flags) == 0;
    };
    return call(file.Number(), "", AT_EMPTY_PATH) ||
           (errno != EEXIST &&
            call(AT_FDCWD, "/proc/self/fd/" + std::to_string(file.Number()), AT_SYMLINK_FOLLOW));
  };
  return !name.empty() || CreateName(link);
}

void TemporaryFile::Flush() { CheckedCall("cannot flush to the disk", fsync, file.Number()); }

bool TemporaryFile::KeepsName() const noexcept {
  return !name.empty() && LeadsTo(folder, name, status);
}

void TemporaryFile::RenameOver(const std::string& target) {
  assert(!name.empty() && access != nullptr);
  CheckedCall("cannot replace the file", renameat, folder, name.c_str(), folder, target.c_str());
  name.clear();
}

bool TemporaryFile::RenameToUnused(const std::string& target) {
  assert(!name.empty() && access != nullptr);
  constexpr unsigned flags = RENAME_NOREPLACE;
  if (Uninterrupted(renameat2, folder, name.c_str(), folder, target.c_str(), flags) == 0) {
    name.clear();
    return true;
  }
  // Not every file system has such a rename.
  const bool isMissing = errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
  if (isMissing && Uninterrupted(linkat, folder, name.c_str(), folder, target.c_str(), 0) == 0) {
    RemoveName(); // if that fails, the destructor tries again
    return true;
  }
  if (errno != EEXIST) ThrowSystemFailure("cannot name the new file");
  return false;
}

FileState TemporaryFile::State() const noexcept {
  assert(stampedAt != 0);
  FileStatus now{};
  if (Uninterrupted(fstat, file.Number(), &now) == 0)
    return StateOf(file.Number(), now, access, stampedAt);
  FileState state = StateOf(file.Number(), status, access);
  state.isSettled = false;
  return state;
}

} // namespace platform
