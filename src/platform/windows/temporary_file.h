// A new file on its way to its final name.
#ifndef TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H

#include <functional>

#include "platform/windows/access.h"

namespace platform {

// It is hidden, and removed unless it gets its final name. Every operation throws std::system_error
// or std::bad_alloc.
class TemporaryFile {
 public:
  // Creates a file in the folder, whose name ends in a separator. `number` is in the file's name:
  // what a killed process left under it is removed first; if that is in use, the name is random.
  // `attributes` are those of the final file.
  TemporaryFile(std::wstring_view folder, std::uint64_t number, DWORD attributes);
  ~TemporaryFile();
  TemporaryFile(TemporaryFile&&) = delete;

  // Gives the file this access list, unless it has an equal one by inheritance. REQUIRES: nothing
  // was written yet.
  void SetAccessList(const std::vector<unsigned char>& list);

  void Write(std::string_view bytes);

  // Sets the file's times and flushes it. creationTime 0: now. REQUIRES: all is written.
  void Finish(LARGE_INTEGER creationTime);

  // Gives the file its final name, and shows it unless it is to be hidden. Closes `original`, the
  // file that is to be replaced, on systems that cannot replace an open file. False if
  // `replaces` is false and a file has that name, or if isUnchanged(), which is called directly
  // before each attempt, is false. REQUIRES: Finish was called.
  bool RenameTo(const std::wstring& target, bool replaces, Handle& original,
                const std::function<bool()>& isUnchanged);

  // Closes the file. REQUIRES: it has its final name.
  FileState State();

 private:
  void SetAttributes(const FILE_BASIC_INFO& basic);

  const DWORD finalAttributes;
  std::wstring name; // empty once it is the final one
  Handle file;       // excludes other programs
  Handle named;      // for the state; excludes no one
  DWORD volume = 0;
  std::int64_t stampedAt = 0;
};

} // namespace platform

#endif
