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
  // Without a name nothing stays of a file when its process is killed, but not every system can name it later.
  enum class Kind { Unnamed, Named };
  // Makes a new file in the folder, which must outlive it. A named one, too, where the folder takes no other.
  TemporaryFile(const FileDescriptor& inFolder, Kind kind);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Writes all of the file's bytes and sets its modification time.
  void Write(std::string_view bytes);
  // Takes over owner and group where allowed, access list, security label, the user's attributes, and mode.
  void TakeOver(int original, const FileStatus& originalStatus);
  // Gives the file this mode and no access list.
  void SetAccess(mode_t mode);
  void Flush();

  enum class Naming {
    Done,
    Taken,   // there is a file of that name
    Refused, // errno says why; a named file may do it where an unnamed one can't
  };
  // Gives the file a name that no file has.
  Naming Link(const std::string& target);
  // Puts the file in the place of the one of that name, which may be there or not. Never gives Taken.
  Naming Replace(const std::string& target);

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
