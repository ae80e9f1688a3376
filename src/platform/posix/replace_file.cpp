#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "platform/platform.h"
#include "platform/posix/file_name.h"
#include "platform/posix/system_failure.h"
#include "platform/posix/temporary_file.h"

namespace platform {
namespace {

using FileStatus = struct stat;

std::string ReadLink(const std::string& link) {
  std::string target(256, '\0');
  for (;;) {
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    if (length < 0) ThrowSystemFailure("cannot follow the symbolic link");
    if (static_cast<std::size_t>(length) < target.size()) {
      target.resize(static_cast<std::size_t>(length));
      return target;
    }
    target.resize(target.size() * 2);
  }
}

// The name behind all symbolic links, also where nothing is behind the last one yet. Links among the folders need no
// care.
std::string FollowLinks(std::string name) {
  constexpr int mostLinks = 40;
  for (int links = 0; links < mostLinks; ++links) {
    FileStatus status{};
    if (lstat(name.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return name;
    std::string target = ReadLink(name);
    name = target.starts_with('/') ? std::move(target) : std::string(FolderPart(name)) + target;
  }
  ThrowSystemFailure("cannot follow the symbolic link", ELOOP);
}

// The status of the file that is to be replaced, or nothing when there is none yet. Throws when it must not be
// replaced: a rename alone would ask for the folder's permissions only.
std::optional<FileStatus> CheckReplaceable(const std::string& name) {
  constexpr mode_t writeBits = 0222;
  FileStatus status{};
  if (stat(name.c_str(), &status) != 0) {
    if (errno != ENOENT) ThrowSystemFailure("cannot reach the file");
    return std::nullopt;
  }
  if (S_ISDIR(status.st_mode)) ThrowSystemFailure("cannot replace the file", EISDIR);
  if (!S_ISREG(status.st_mode)) ThrowSystemFailure("cannot replace what is no regular file", EINVAL);
  if ((status.st_mode & writeBits) == 0) ThrowSystemFailure("the file is read-only", EACCES);
  if (faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0) ThrowSystemFailure("the file is read-only");
  return status;
}

} // namespace

void ReplaceWholeFile(const wchar_t* name, std::string_view bytes) {
  constexpr mode_t modeOfNewFile = 0666;
  constexpr mode_t modeUntilTakenOver = 0600;

  std::string narrowName;
  if (!NarrowFileName(name, narrowName)) ThrowSystemFailure("the file's name has no form in the locale", EILSEQ);
  const std::string target = FollowLinks(std::move(narrowName));
  const std::optional<FileStatus> original = CheckReplaceable(target);

  TemporaryFile temporary(FolderPart(target), original ? modeUntilTakenOver : modeOfNewFile);
  temporary.Write(bytes);
  if (original) temporary.TakeOverPermissions(target, *original);
  temporary.Replace(target);
}

} // namespace platform
