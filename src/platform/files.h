// Files as every system must supply them: whole reads, and saves that replace a file under a lock. Nothing here logs.
#ifndef TARVIK_PLATFORM_FILES_H
#define TARVIK_PLATFORM_FILES_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// A name in the form that the system takes: bytes or wide text, never converted.
using FileName = std::filesystem::path;

// The file name of a caller, who gave `bytes`; `wide` is the same text converted. Each system takes its own form of the two.
// Made absolute, so that a change of the working folder does not lead to another file; as given where the working folder has no
// name. Throws std::bad_alloc.
FileName AbsoluteFileName(const char* bytes, const wchar_t* wide);

// Tells whether a file is still the one that was seen. A change of the file, or another file in its place, changes at least one
// of these. The units are the system's own.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0; // of the file on its device
  std::uint64_t size = 0;
  std::int64_t modified = 0; // time of the last change of its bytes
  std::int64_t changed = 0;  // time of the last change of anything about it, 0 where the system has no such time

  bool operator==(const FileIdentity&) const = default;
};

struct FileState {
  FileIdentity identity;
  std::uint32_t permissions = 0; // given to Replace when the file vanished; the meaning is the system's own
  // Whether every later change must show in the identity. False for a file that was changed less than two seconds before it
  // was looked at, since file systems' clocks are that coarse, and where a time was stored less exactly than it was set.
  bool isSettled = false;
};

enum class ReadStatus {
  Done,
  Missing,    // no file of that name
  Unreadable, // permission, a folder or another thing that is no regular file, an I/O error
  TooLong,    // more bytes than the limit
};

// Reads the whole file into bytes. A file that changes its size meanwhile gives what was read until its end. state is taken
// before the first byte is read, so that a change during the read shows later. Throws std::bad_alloc; bytes is then of
// unspecified content.
ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes, FileState& state);

// A file that is about to be replaced, locked against every other LockedFile of the same file, of this process and of others.
// Programs that do not use this class are neither kept out nor waited for, unless they hold a lock of the same kind.
//
// Every operation throws std::system_error, which says what could not be done and the system's reason, or std::bad_alloc. The
// file is then whole, the old one or the new one, and no temporary file stays.
class LockedFile {
 public:
  // Follows symbolic links, also to where nothing is yet, and waits for the lock for up to ten seconds. A file system without
  // locks is used without; a lock that the calling process itself holds by other means is not waited for. Throws when the links
  // can't be followed, the lock is not had, or the file must not be replaced: it is no regular file, marked read-only, or the
  // process may not write it.
  explicit LockedFile(const FileName& name);
  ~LockedFile();
  LockedFile(LockedFile&&) = delete;

  // The file as it was found under the lock, or nothing where there is none; after Replace, the new file.
  const std::optional<FileState>& State() const noexcept;

  // Reads the file that was found. REQUIRES: there was one.
  ReadStatus Read(std::size_t limit, std::string& bytes) const;

  // Puts a new file, of these pieces, in the place of the old one in one step: at any moment, and after a loss of power, the
  // name leads to the old bytes or the new ones, whole. The new file takes over who may do what with the old one, is flushed to the disk first,
  // and its modification time is set from the system's most exact clock. Where there was no file, the new one gets
  // `permissions`. False, with nothing changed, when somebody took the name meanwhile, or was seen to change the file: lock it
  // and look again.
  // A program that is killed meanwhile leaves at most one temporary file, and only from the last step. Call once.
  bool Replace(const std::vector<std::string_view>& pieces, std::uint32_t permissions);

  // Flushes the folder to the disk, so that a loss of power does not bring back the old file. Not done, and no failure, where
  // the process may not read the folder or the system flushes none.
  void FlushFolder() const;

 private:
  struct System;
  std::unique_ptr<System> system;
};

} // namespace platform

#endif
