// A file that takes another one's place when it is complete, and vanishes when it isn't.
#ifndef TARVIK_PLATFORM_POSIX_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_POSIX_TEMPORARY_FILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "platform/posix/file_descriptor.h"

namespace platform {

// Every operation throws std::runtime_error with the system's reason, or std::bad_alloc.
class TemporaryFile {
 public:
  // Makes a new file in the folder, with this mode less the process's umask. The folder ends in a separator or is
  // empty.
  TemporaryFile(std::string_view folder, mode_t mode);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void Write(std::string_view bytes);
  // Takes over owner, access list and mode of the file at `original`, whose status is given. The owner where allowed.
  void TakeOverPermissions(const std::string& original, const struct stat& status);
  // Flushes to the disk, closes and renames over `target`. Nothing can be written any more.
  void Replace(const std::string& target);

 private:
  std::string name; // empty once it was renamed
  FileDescriptor file;
};

} // namespace platform

#endif
