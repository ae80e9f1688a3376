// A file that takes another one's place when it is complete, and vanishes when it isn't.
#ifndef TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H

#include <string>
#include <string_view>

#include "platform/windows/file_handle.h"

namespace platform {

// Every operation throws std::runtime_error with the system's reason, or std::bad_alloc.
class TemporaryFile {
 public:
  // Makes a new file in the folder, which ends in a separator or is empty.
  explicit TemporaryFile(std::wstring_view folder);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void Write(std::string_view bytes);
  // Takes over the access list and the attributes, which are given, of the file at `original`.
  void TakeOverPermissions(const std::wstring& original, DWORD attributes);
  // Flushes to the disk, closes and renames over `target`. Nothing can be written any more.
  void Replace(const std::wstring& target);

 private:
  std::wstring name; // empty once it was renamed
  FileHandle file;
};

} // namespace platform

#endif
