// Locks on open files.
#ifndef TARVIK_PLATFORM_LINUX_FILE_LOCK_H
#define TARVIK_PLATFORM_LINUX_FILE_LOCK_H

#include <sys/file.h>

#include "platform/linux/file_descriptor.h"

namespace platform {

enum class LockResult { Locked, HeldByOthers, Unsupported, Failed };

// Covers the whole file, whatever its length.
inline int CallLock(int file, int command, struct flock& lock, short type) noexcept {
  lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  return Uninterrupted(fcntl, file, command, &lock);
}

// Locks the open file description, not the process: threads exclude each other, and closing the
// file elsewhere keeps the lock. The file must be open for writing. After Failed, errno tells why.
inline LockResult TryLock(int file) noexcept {
  struct flock lock {};
  if (CallLock(file, F_OFD_SETLK, lock, F_WRLCK) == 0) return LockResult::Locked;
  if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL)
    return LockResult::Unsupported;
  if (errno != EAGAIN && errno != EACCES) return LockResult::Failed;
  // A classical lock of this process belongs to the host program. Threads then exclude each other
  // by flock.
  if (CallLock(file, F_OFD_GETLK, lock, F_WRLCK) != 0 || lock.l_type == F_UNLCK ||
      lock.l_pid != getpid())
    return LockResult::HeldByOthers;
  const bool isHeld = Uninterrupted(flock, file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  if (isHeld) return LockResult::HeldByOthers;
  return LockResult::Locked;
}

// Closing alone does not unlock if another thread has forked, because the new process also has the
// file open.
inline void Unlock(int file) noexcept {
  struct flock lock {};
  CallLock(file, F_OFD_SETLK, lock, F_UNLCK);
}

} // namespace platform

#endif
