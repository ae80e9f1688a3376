// A new file on its way to its final name.
#ifndef TARVIK_PLATFORM_LINUX_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_LINUX_TEMPORARY_FILE_H

#include "platform/file_parts.h"
#include "platform/linux/access.h"

namespace platform {

// It is removed, unless it gets its final name. While it exists, it is locked as a file that is
// being replaced. Every operation throws std::system_error or std::bad_alloc, unless it says
// otherwise. Every removal and rename by name first checks that the name still leads to this file.
class TemporaryFile {
 public:
  // Creates the file in the open folder, which must outlive it, with the mode, from which the
  // process's umask is taken. Without a name if possible, unless `isNamed`: such a file disappears
  // even if its process is killed, but not every system can name it later.
  //
  // preferredName is the name to give it, from which what a killed process left is removed first;
  // to be used by one process at a time. If it is empty or cannot be had, the name is random.
  TemporaryFile(int inFolder, std::string wantedName, bool isNamed, mode_t mode)
      : folder(inFolder), preferredName(std::move(wantedName)) {
    assert(folder >= 0);
    if (!isNamed) file = OpenAt(folder, ".", O_TMPFILE | O_WRONLY, mode);
    const auto create = [this, mode](const std::string& unused) {
      file = OpenAt(folder, unused.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
      return file.IsOpen();
    };
    if (!file.IsOpen() && !CreateName(create))
      ThrowSystemFailure("cannot create a temporary file in the folder");
    if (QueryStatus(file.Number(), "", &status) == 0 &&
        TryLock(file.Number()) != LockResult::Failed)
      return;
    const int error = errno;
    QueryStatus(file.Number(), "", &status); // it may be this call that failed
    RemoveName();
    ThrowSystemFailure("cannot lock the temporary file", error);
  }

  ~TemporaryFile() {
    RemoveName();
    Unlock(file.Number());
  }
  TemporaryFile(TemporaryFile&&) = delete;

  // Sets the modification time, too. Call once.
  void Write(const std::vector<std::string_view>& pieces) {
    assert(stampedAt == 0); // a later write would change the time
    for (std::string_view piece : pieces) {
      while (!piece.empty()) {
        const ssize_t count = Uninterrupted(write, file.Number(), piece.data(), piece.size());
        if (count <= 0) ThrowSystemFailure("cannot write");
        piece.remove_prefix(static_cast<std::size_t>(count));
      }
    }
    Stamp();
  }

  // See GiveAccess; without `wanted`, the file keeps the access with which it was created. Also
  // copies label and attributes of an open file, if one is given: first, because only the owner may
  // set them.
  void SetAccess(const std::optional<Access>& wanted, bool ownerLosesNothing, int attributesFrom) {
    if (attributesFrom >= 0) CopyAttributes(attributesFrom, file.Number());
    if (!wanted) {
      access = ReadAccess(file.Number(), status);
      return;
    }
    access = std::make_shared<const Access>(
        GiveAccess(file.Number(), status, *wanted, ownerLosesNothing));
  }

  // Gives the file a name if it has none. False on failure, and errno tells why. Linking by
  // descriptor needs a privilege or a recent kernel; the other way needs /proc.
  bool Link() {
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

  void Flush() { CheckedCall("cannot flush to the disk", fsync, file.Number()); }

  // Whether its name still leads to it: another process may have removed or replaced it.
  bool KeepsName() const noexcept { return !name.empty() && LeadsTo(name, status); }

  // Gives the file its final name, in place of the file that has it.
  void RenameOver(const std::string& target) {
    assert(!name.empty() && access != nullptr);
    CheckedCall("cannot replace the file", renameat, folder, name.c_str(), folder, target.c_str());
    name.clear();
  }

  // Gives the file its final name. False if a file has that name.
  bool RenameToUnused(const std::string& target) {
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

  // Not settled if the status cannot be read. REQUIRES: it was written.
  FileState State() const noexcept {
    assert(stampedAt != 0);
    FileStatus now{};
    if (QueryStatus(file.Number(), "", &now) != 0) return {IdentityOf(status), access};
    return StateAt(CurrentTime(), second, IdentityOf(now), access, stampedAt);
  }

 private:
  // Calls create(unusedName) until it succeeds. It fails with EEXIST if the name is in use.
  template <class Create>
  bool CreateName(Create create) {
    const auto isCreated = [&](std::string unused) {
      if (!create(unused)) return false;
      name = std::move(unused); // cannot fail
      return true;
    };
    if (!preferredName.empty() &&
        (isCreated(preferredName) ||
         (errno == EEXIST && RemoveLeftover() && isCreated(preferredName))))
      return true;
    return isCreated(TemporaryName());
  }

  // Removes what a killed process left. False if it is in use, is something else, or cannot be
  // removed.
  bool RemoveLeftover() const noexcept {
    // A pipe must not make this wait, nor a link lead elsewhere.
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK;
    const FileDescriptor left = OpenAt(folder, preferredName.c_str(), flags);
    FileStatus found{};
    return left.IsOpen() && QueryStatus(left.Number(), "", &found) == 0 &&
           S_ISREG(found.stx_mode) && TryLock(left.Number()) == LockResult::Locked &&
           LeadsTo(preferredName, found) &&
           Uninterrupted(unlinkat, folder, preferredName.c_str(), 0) == 0;
  }

  void RemoveName() noexcept {
    if (KeepsName() && Uninterrupted(unlinkat, folder, name.c_str(), 0) == 0) name.clear();
  }

  bool LeadsTo(const std::string& inFolder, const FileStatus& wanted) const noexcept {
    FileStatus found{};
    return QueryStatus(folder, inFolder.c_str(), &found) == 0 && IsSameFile(found, wanted);
  }

  void Stamp() noexcept {
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

  const int folder;
  const std::string preferredName;
  std::string name; // empty while the file has no name, and once it has its final one
  FileDescriptor file;
  FileStatus status{}; // from before it was written; device and number stay right
  std::int64_t stampedAt = 0;
  std::shared_ptr<const Access> access;
};

} // namespace platform

#endif
