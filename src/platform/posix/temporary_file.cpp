#include "platform/posix/temporary_file.h"

#include <linux/limits.h>
#include <sys/xattr.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>

#include "platform/platform.h"
#include "platform/posix/system_failure.h"

namespace platform {
namespace {

constexpr mode_t modeUntilTakenOver = 0600;
constexpr const char* accessList = "system.posix_acl_access";

// 64 bits, so that no two are ever the same.
std::string RandomName() {
  std::uint32_t high = 0;
  std::uint32_t low = 0;
  if (!DrawRandom(high) || !DrawRandom(low)) ThrowSystemFailure("no random name for a temporary file");
  char text[32];
  std::snprintf(text, sizeof text, ".tarvik-%08x%08x", high, low);
  return text;
}

// A list of names, or a value, which `ask` writes into the memory that it is given; nothing where there is none.
template <class Ask>
std::optional<std::string> ReadAttribute(Ask ask) {
  static_assert(XATTR_LIST_MAX <= XATTR_SIZE_MAX);
  const auto bytes = std::make_unique_for_overwrite<char[]>(XATTR_SIZE_MAX);
  const ssize_t size = Uninterrupted([&] { return ask(bytes.get(), XATTR_SIZE_MAX); });
  if (size >= 0) return std::string(bytes.get(), static_cast<std::size_t>(size));
  if (errno != ENODATA && errno != EOPNOTSUPP) ThrowSystemFailure("cannot read the file's attributes");
  return std::nullopt;
}

std::optional<std::string> AttributeOf(int file, const char* name) {
  return ReadAttribute([&](char* bytes, std::size_t size) { return fgetxattr(file, name, bytes, size); });
}

// The others belong to the system, or say something of the file's bytes.
bool IsTakenOver(std::string_view name) noexcept {
  return name == accessList || name == "security.selinux" || name == "security.SMACK64" || name.starts_with("user.");
}

// What the new file has already is not set again, since that may take a right that the process lacks.
void CopyAttributes(int original, int copy) {
  const std::string names =
      ReadAttribute([&](char* bytes, std::size_t size) { return flistxattr(original, bytes, size); }).value_or("");
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    const char* const name = names.data() + at;
    const std::optional<std::string> value = IsTakenOver(name) ? AttributeOf(original, name) : std::nullopt;
    if (!value || AttributeOf(copy, name) == value) continue;
    if (Uninterrupted([&] { return fsetxattr(copy, name, value->data(), value->size(), 0); }) != 0) {
      ThrowSystemFailure("cannot take over the file's access list, security label or attributes");
    }
  }
}

} // namespace

TemporaryFile::TemporaryFile(const FileDescriptor& inFolder, bool named) : folder(inFolder) {
  if (!named) file = FileDescriptor(OpenAt(folder.Number(), ".", O_TMPFILE | O_WRONLY, modeUntilTakenOver));
  if (file.IsOpen()) return;
  std::string free = RandomName();
  file = FileDescriptor(OpenAt(folder.Number(), free.c_str(), O_WRONLY | O_CREAT | O_EXCL, modeUntilTakenOver));
  if (!file.IsOpen()) ThrowSystemFailure("cannot create a temporary file in the folder");
  name = std::move(free);
}

TemporaryFile::~TemporaryFile() {
  if (HasName()) Uninterrupted([&] { return unlinkat(folder.Number(), name.c_str(), 0); });
}

void TemporaryFile::Write(std::string_view bytes) {
  constexpr long finestUnit = 100; // nanoseconds; some file systems store no more
  while (!bytes.empty()) {
    const ssize_t count = Uninterrupted([&] { return write(file.Number(), bytes.data(), bytes.size()); });
    if (count <= 0) ThrowSystemFailure("cannot write");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  // The system's own stamp comes from a clock that stands still for milliseconds, in which an edit would not show. A failure
  // is seen when the time is compared.
  clock_gettime(CLOCK_REALTIME, &stampedAt);
  stampedAt.tv_nsec -= stampedAt.tv_nsec % finestUnit;
  const timespec times[] = {{0, UTIME_OMIT}, stampedAt};
  static_cast<void>(Uninterrupted([&] { return futimens(file.Number(), times); }));
}

void TemporaryFile::TakeOver(int original, const FileStatus& originalStatus) {
  constexpr mode_t accessBits = 0777;
  constexpr mode_t allBits = 07777;
  constexpr mode_t groupBits = 0070;
  constexpr mode_t othersBits = 0007;
  FileStatus own{};
  if (Uninterrupted([&] { return fstat(file.Number(), &own); }) != 0) {
    ThrowSystemFailure("cannot ask for the temporary file's owner");
  }
  const auto change = [&](uid_t owner) {
    return Uninterrupted([&] { return fchown(file.Number(), owner, originalStatus.st_gid); }) == 0;
  };

  // The owner comes first: changing it clears the bits that run a program as its owner. Those go with owner and group only, and
  // the group's rights with the group.
  mode_t mode = originalStatus.st_mode & allBits;
  const bool groupIsSame = own.st_gid == originalStatus.st_gid;
  if (!(groupIsSame && own.st_uid == originalStatus.st_uid) && !change(originalStatus.st_uid)) {
    mode &= accessBits;
    if (!groupIsSame && !change(own.st_uid)) mode = (mode & ~groupBits) | (mode & othersBits) << 3;
  }
  SetAccess(mode, original);
}

void TemporaryFile::SetAccess(mode_t mode, int attributesFrom) {
  // The folder may have given the new file a list that lets others do more than the mode says.
  if (Uninterrupted([&] { return fremovexattr(file.Number(), accessList); }) != 0 && errno != ENODATA &&
      errno != EOPNOTSUPP) {
    ThrowSystemFailure("cannot remove the folder's access list");
  }
  if (attributesFrom >= 0) CopyAttributes(attributesFrom, file.Number());
  if (Uninterrupted([&] { return fchmod(file.Number(), mode); }) != 0) {
    ThrowSystemFailure("cannot set the file's permissions");
  }
}

void TemporaryFile::Flush() {
  if (Uninterrupted([&] { return fsync(file.Number()); }) != 0) ThrowSystemFailure("cannot flush to the disk");
}

bool TemporaryFile::Link(const std::string& target) {
  const auto link = [&](int from, const std::string& source, int flags) {
    return Uninterrupted([&] { return linkat(from, source.c_str(), folder.Number(), target.c_str(), flags); }) == 0;
  };
  if (HasName()) { // which goes in the end
    const auto move = [&] {
      return renameat2(folder.Number(), name.c_str(), folder.Number(), target.c_str(), RENAME_NOREPLACE);
    };
    if (link(folder.Number(), name, 0)) return true;
    if (errno == EEXIST || Uninterrupted(move) != 0) return false;
    name.clear();
    return true;
  }
  if (link(file.Number(), "", AT_EMPTY_PATH)) return true; // takes a right, or a new kernel
  return errno != EEXIST && link(AT_FDCWD, "/proc/self/fd/" + std::to_string(file.Number()), AT_SYMLINK_FOLLOW);
}

bool TemporaryFile::Replace(const std::string& target) {
  if (!HasName()) {
    std::string free = RandomName();
    if (!Link(free)) return false;
    name = std::move(free);
  }
  const auto move = [&] { return renameat(folder.Number(), name.c_str(), folder.Number(), target.c_str()); };
  if (Uninterrupted(move) != 0) ThrowSystemFailure("cannot replace the file");
  name.clear();
  return true;
}

FileState TemporaryFile::State() const noexcept {
  FileStatus status{};
  if (Uninterrupted([&] { return fstat(file.Number(), &status); }) != 0) return {{}, modeUntilTakenOver};
  return StateOf(status, &stampedAt);
}

} // namespace platform
