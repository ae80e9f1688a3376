// A new file on its way to its final name.
#ifndef TARVIK_PLATFORM_LINUX_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_LINUX_TEMPORARY_FILE_H

#include "platform/linux/access.h"

namespace platform {

// Whether a name in an open folder leads to that file, links not followed.
bool LeadsTo(int folder, const std::string& name, const FileStatus& file) noexcept;

// It is removed, unless it gets its final name. While it exists, it is locked as a file that is
// being replaced. Every operation throws std::system_error or std::bad_alloc, unless it says
// otherwise.
class TemporaryFile {
 public:
  // Creates the file in the open folder, which must outlive it, with the mode, from which the
  // process's umask is taken. Without a name if possible, unless `isNamed`: such a file disappears
  // even if its process is killed, but not every system can name it later.
  //
  // preferredName is the name to give it, from which what a killed process left is removed first;
  // to be used by one process at a time. If it is empty or cannot be had, the name is random.
  TemporaryFile(int inFolder, std::string wantedName, bool isNamed, mode_t mode);
  ~TemporaryFile();
  TemporaryFile(TemporaryFile&&) = delete;

  void Write(std::string_view bytes);

  // Sets the modification time, once all is written.
  void Stamp() noexcept;

  // See GiveAccess; without `wanted`, the file keeps the access with which it was created. Also
  // copies label and attributes of an open file, if one is given.
  void SetAccess(const std::optional<Access>& wanted, bool ownerLosesNothing, int attributesFrom);

  // Gives the file a name if it has none. False on failure, and errno tells why.
  bool Link();

  void Flush();

  // Whether its name still leads to it: another process may have removed or replaced it.
  bool KeepsName() const noexcept;

  // Gives the file its final name, in place of the file that has it.
  void RenameOver(const std::string& target);

  // Gives the file its final name. False if a file has that name.
  bool RenameToUnused(const std::string& target);

  // REQUIRES: it was stamped.
  FileState State() const noexcept;

 private:
  template <class Create>
  bool CreateName(Create create);
  void RemoveName() noexcept;

  const int folder;
  const std::string preferredName;
  std::string name; // empty while the file has no name, and once it has its final one
  FileDescriptor file;
  FileStatus status{}; // device and number stay right
  std::int64_t stampedAt = 0;
  std::shared_ptr<const Access> access;
};

} // namespace platform

#endif
