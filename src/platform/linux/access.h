// Who may do what with a file, and what else of a file its successor keeps.
#ifndef TARVIK_PLATFORM_LINUX_ACCESS_H
#define TARVIK_PLATFORM_LINUX_ACCESS_H

#include <linux/posix_acl_xattr.h>

#include "platform/linux/file_descriptor.h"

namespace platform {

struct Access {
  uid_t owner = 0;
  gid_t group = 0;
  mode_t mode = 0; // without the file type
  // Empty if the mode says all. Otherwise it has a mask, and the mode takes the place of what it
  // says about owner, mask and others.
  std::vector<posix_acl_xattr_entry> list;
};

// The access to an open file. Throws std::system_error or std::bad_alloc.
std::shared_ptr<const Access> ReadAccess(int file, const FileStatus& status);

// Gives an open file that this process has just created, and whose status is known, that access,
// and returns what it got. What this process may not give is left out in such a way that nobody
// gets more than `wanted` says. If `ownerLosesNothing`, throws if the file gets another owner than
// wanted and the wanted one would have less access than as the owner. Throws std::system_error or
// std::bad_alloc.
Access GiveAccess(int file, FileStatus status, const Access& wanted, bool ownerLosesNothing);

// Copies the security label and the user's attributes of an open file to another. Throws
// std::system_error or std::bad_alloc.
void CopyAttributes(int original, int copy);

} // namespace platform

#endif
