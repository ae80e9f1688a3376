// The file functions that every system must supply: reading whole files, and replacing a file under
// a lock. Nothing here logs.
#ifndef TARVIK_PLATFORM_FILES_H
#define TARVIK_PLATFORM_FILES_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// A name in the system's native form, bytes or wide text; never converted.
using FileName = std::filesystem::path;

// Makes a file name from the caller's text: `bytes` as given, `wide` the same text converted. Each
// system uses its native form. The name is made absolute, so that changing the working folder later
// does not lead to another file; it stays as given if the working folder has no name. Throws
// std::bad_alloc.
FileName AbsoluteFileName(const char* bytes, const wchar_t* wide);

// Identifies a version of a file. If the file is changed or replaced, at least one member differs.
// Times are in units of 100 nanoseconds since 1970.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0; // of the file, unique on the device
  std::uint64_t size = 0;
  std::int64_t modified = 0; // time of the last change of the content
  std::int64_t changed =
      0; // time of the last change of content or metadata; 0 if the system has no such time

  // Time of creation, since a new file can get the number of a removed one; 0 if unknown.
  std::int64_t created = 0;

  bool operator==(const FileIdentity&) const = default;
  // Whether it is the same file, though perhaps changed.
  bool IsSameFile(const FileIdentity& other) const noexcept {
    return device == other.device && number == other.number && created == other.created;
  }
};

// A file's owner and who may do what with it, in the system's own form.
struct Access;

struct FileState {
  FileIdentity identity;
  std::shared_ptr<const Access> access; // null if unknown
  // Whether every later change is sure to change the identity. False if the file was modified less
  // than two seconds before it was examined, because file systems' clocks can be that coarse, or if
  // a time that was set was not stored exactly.
  bool isSettled = false;
  // Whether the last change is less than two seconds old, so that another program may still be
  // writing. It is the later of the file's times that is not in the future.
  bool isYoung = false;
};

enum class ReadStatus {
  Done,
  Missing,    // no file of that name
  Unreadable, // no permission, not a regular file, or an I/O error
  TooLong,    // more bytes than the limit
};

// Reads the whole file into bytes. If its size changes meanwhile, reads to the new end. state is
// taken before the first byte is read, so that a change during the read is noticed later. Throws
// std::bad_alloc; bytes then has unspecified content.
ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state);

using Deadline = std::chrono::steady_clock::time_point;

// How long a save may wait for other programs: for the lock, and for a file that is being written.
// Also how long reading waits for a program that holds the file for itself, where a system knows
// such leases.
inline constexpr std::chrono::seconds maxSaveWait{10};

// A file to be replaced, locked against all other LockedFile objects for it, in this process and in
// others. Other programs are neither excluded nor waited for, unless they hold a lock of the same
// kind.
//
// Every operation throws std::system_error, which says what failed and the system's reason, or
// std::bad_alloc. The file is then complete, either the old one or the new one, and no temporary
// file is left.
class LockedFile {
 public:
  // Follows symbolic links, even to a file that does not exist, and waits for the lock until the
  // deadline; tries once if that has passed. On a file system without locks none is taken. A lock
  // that the calling process holds by other means is not waited for. Throws if the links cannot be
  // followed, if the lock is not obtained in time, or if the file must not be replaced because it
  // is not a regular file, is marked read-only, or may not be written by this process.
  LockedFile(const FileName& name, Deadline deadline);
  ~LockedFile();
  LockedFile(LockedFile&&) = delete;

  // The file as found under the lock, or nothing if there was none; after Replace, the new file.
  const std::optional<FileState>& State() const noexcept;

  // Reads the file that was found. REQUIRES: State() is not empty.
  ReadStatus Read(std::size_t limit, std::string& bytes) const;

  // Replaces the file with a new one that consists of the pieces, in one step: at any time, even
  // after a loss of power, the name leads to either the complete old content or the complete new
  // content. The new file is flushed to the disk first and gets a modification time from the
  // system's most precise clock.
  //
  // If `access` is null, the new file gets the access of the file found, as far as this process may
  // give it; if there was none, that of any file created there (by the umask; on Windows, by the
  // folder's access list). Otherwise it gets `access`, and of the mode bits only those that the
  // file found has, too. No access is wider than that. Throws if the old owner cannot be kept and
  // would lose access.
  //
  // Returns false, with nothing changed, if the file was created or changed by another program
  // meanwhile; the caller should then lock and examine it again. Call once.
  bool Replace(const std::vector<std::string_view>& pieces, const Access* access);

  // Flushes the folder to the disk, so that a loss of power does not bring back the old file. Does
  // nothing if the process may not read the folder or the system cannot flush folders.
  void FlushFolder() const;

 private:
  struct System;
  std::unique_ptr<System> system;
};

} // namespace platform

#endif
