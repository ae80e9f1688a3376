// A file that takes a name when it is complete, and vanishes when it isn't.
#ifndef TARVIK_PLATFORM_POSIX_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_POSIX_TEMPORARY_FILE_H

#include <string>
#include <string_view>

#include "platform/posix/file_descriptor.h"

namespace platform {

// Every operation throws std::system_error or std::bad_alloc.
class TemporaryFile {
 public:
  // Makes a new file in the folder, which must outlive it; one without a name, unless it is asked for or the folder takes no
  // other. Nothing stays of a file without a name when its process is killed, but not every system can name it later.
  TemporaryFile(const FileDescriptor& inFolder, bool named);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Writes all of the file's bytes and sets its modification time.
  void Write(std::string_view bytes);
  // Takes over owner and group where allowed, access list, security label, the user's attributes, and mode.
  void TakeOver(int original, const FileStatus& originalStatus);
  // Gives the file this mode, and the access list, label and attributes of a file that is open, if one is given.
  void SetAccess(mode_t mode, int attributesFrom = -1);
  void Flush();

  // Both give the file its final name; false, with errno, where that can't be done. Link only where no file has it (EEXIST),
  // Replace in the place of the file that has it.
  bool Link(const std::string& target);
  bool Replace(const std::string& target);

  bool HasName() const noexcept { return !name.empty(); }
  // REQUIRES: it was written.
  FileState State() const noexcept;

 private:
  const FileDescriptor& folder;
  std::string name; // empty while it has none, or once it has its final one
  FileDescriptor file;
  timespec stampedAt{};
};

} // namespace platform

#endif
