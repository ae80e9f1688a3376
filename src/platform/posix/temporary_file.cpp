#include "platform/posix/temporary_file.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <cerrno>
#include <cstdio>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/system_failure.h"

namespace platform {
namespace {

std::string RandomName(std::string_view folder) {
  std::uint32_t number = 0;
  if (!DrawRandom(number)) ThrowSystemFailure("no random name for a temporary file");
  char suffix[16];
  std::snprintf(suffix, sizeof suffix, "%08x", static_cast<unsigned>(number));
  return std::string(folder) + ".tarvik-" + suffix;
}

// Opened by a name drawn here and not by mkostemp, because only the system itself can apply the umask without a race
// between threads. Gives the name it found free.
int OpenNew(std::string_view folder, mode_t mode, std::string& name) {
  constexpr int mostAttempts = 100;
  for (int attempt = 0; attempt < mostAttempts; ++attempt) {
    name = RandomName(folder);
    const int file = open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file >= 0) return file;
    if (errno != EEXIST && errno != EINTR) break;
  }
  ThrowSystemFailure("cannot create a temporary file in the folder");
}

// Without the access list, the mode's group bits, which are its mask, would widen what the group may do.
void CopyAccessList(const std::string& original, const FileDescriptor& file) {
  constexpr const char* attribute = "system.posix_acl_access";
  const ssize_t size = getxattr(original.c_str(), attribute, nullptr, 0);
  if (size <= 0) return; // none, or the file system has no such lists
  std::vector<char> list(static_cast<std::size_t>(size));
  const ssize_t read = getxattr(original.c_str(), attribute, list.data(), list.size());
  if (read < 0 || fsetxattr(file.Number(), attribute, list.data(), static_cast<std::size_t>(read), 0) != 0) {
    ThrowSystemFailure("cannot take over the file's access list");
  }
}

} // namespace

TemporaryFile::TemporaryFile(std::string_view folder, mode_t mode) : file(OpenNew(folder, mode, name)) {}

TemporaryFile::~TemporaryFile() {
  if (!name.empty()) unlink(name.c_str());
}

void TemporaryFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file.Number(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) ThrowSystemFailure("cannot write");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void TemporaryFile::TakeOverPermissions(const std::string& original, const struct stat& status) {
  constexpr mode_t accessBits = 0777;
  constexpr mode_t allBits = 07777;
  struct stat own {};
  if (fstat(file.Number(), &own) != 0) ThrowSystemFailure("cannot ask for the temporary file's owner");

  // The owner comes first: changing it clears the bits that run a program as its owner. Those go with the owner only.
  bool ownerIsSame = own.st_uid == status.st_uid && own.st_gid == status.st_gid;
  if (!ownerIsSame) {
    ownerIsSame = fchown(file.Number(), status.st_uid, status.st_gid) == 0;
    if (!ownerIsSame && fchown(file.Number(), static_cast<uid_t>(-1), status.st_gid) != 0) errno = 0;
  }
  CopyAccessList(original, file);
  if (fchmod(file.Number(), status.st_mode & (ownerIsSame ? allBits : accessBits)) != 0) {
    ThrowSystemFailure("cannot take over the file's permissions");
  }
}

void TemporaryFile::Replace(const std::string& target) {
  int result = 0;
  do {
    result = fsync(file.Number());
  } while (result != 0 && errno == EINTR);
  if (result != 0) ThrowSystemFailure("cannot flush to the disk");
  // Interrupted, it is closed all the same, and its bytes are on the disk.
  if (close(file.Release()) != 0 && errno != EINTR) ThrowSystemFailure("cannot close");
  if (rename(name.c_str(), target.c_str()) != 0) ThrowSystemFailure("cannot replace the file");
  name.clear();
}

} // namespace platform
