// A file that takes a name when it is complete, and vanishes when it isn't.
#ifndef TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H

#include "platform/windows/handle.h"

namespace platform {

// Every operation throws std::system_error or std::bad_alloc.
class TemporaryFile {
 public:
  // Makes a new file in the folder, which ends in a separator. Of the attributes, those that count from the first byte on.
  TemporaryFile(std::wstring_view folder, DWORD attributes);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void TakeOverAccessList(const Handle& original);
  void Write(std::string_view bytes);
  // Flushes the file, sets its times and attributes, and gives it its name, in the place of the file that has it or only if
  // none has: else nothing is given back, but the state of the file. creationTime 0: now.
  std::optional<FileState> Name(const std::wstring& target, bool replaces, LARGE_INTEGER creationTime,
                                DWORD attributes);

 private:
  std::wstring name; // empty once it has its final one
  Handle file;       // while it is open, the file vanishes with it
};

} // namespace platform

#endif
