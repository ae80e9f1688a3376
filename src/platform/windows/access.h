// Who may access a file.
#ifndef TARVIK_PLATFORM_WINDOWS_ACCESS_H
#define TARVIK_PLATFORM_WINDOWS_ACCESS_H

#include <vector>

#include "platform/windows/handle.h"

namespace platform {

// What a new file gets from the one that it replaces, or from one that has vanished. The owner is
// not part of it: a file belongs to the user who saves.
struct Access {
  DWORD attributes = 0;
  // A security descriptor that has an access list only; empty if the file system has none.
  std::vector<unsigned char> accessList;
};

// Both throw std::bad_alloc. `file` must be open with the right READ_CONTROL.
std::shared_ptr<const Access> ReadAccess(const Handle& file, const FileStatus& status);
std::vector<unsigned char> ReadAccessList(const Handle& file);

// Whether both lists grant and inherit the same.
bool AreEqualAccessLists(const std::vector<unsigned char>& left,
                         const std::vector<unsigned char>& right) noexcept;

// `file` must be open with the right WRITE_DAC. False on failure, and GetLastError tells why.
bool WriteAccessList(const Handle& file, std::vector<unsigned char> list) noexcept;

} // namespace platform

#endif
