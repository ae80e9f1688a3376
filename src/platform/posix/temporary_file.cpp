#include "platform/posix/temporary_file.h"

#include <sys/xattr.h>

#include <cstdio>
#include <ctime>
#include <optional>

#include "platform/platform.h"
#include "platform/posix/system_failure.h"

namespace platform {
namespace {

constexpr mode_t modeUntilTakenOver = 0600;
constexpr const char* accessList = "system.posix_acl_access";

// Tries random names until one is free; attempt gives whether it was, or ends by throwing.
template <class Attempt>
void ForFreeName(std::string& name, Attempt attempt) {
  constexpr int mostAttempts = 100;
  for (int i = 0; i < mostAttempts; ++i) {
    std::uint32_t number = 0;
    if (!DrawRandom(number)) ThrowSystemFailure("no random name for a temporary file");
    char text[24];
    std::snprintf(text, sizeof text, ".tarvik-%08x", static_cast<unsigned>(number));
    name = text;
    if (attempt(text)) return;
  }
  ThrowSystemFailure("no free name for a temporary file", EEXIST);
}

// A list of names, or a value, which `ask` writes into the memory that it is given; nothing where there is none.
template <class Ask>
std::optional<std::string> ReadAttribute(Ask ask) {
  std::string bytes(256, '\0');
  for (;;) {
    const ssize_t size = Uninterrupted([&] { return ask(bytes.data(), bytes.size()); });
    if (size >= 0) {
      bytes.resize(static_cast<std::size_t>(size));
      return bytes;
    }
    if (errno == ENODATA || errno == EOPNOTSUPP) return std::nullopt;
    if (errno != ERANGE) ThrowSystemFailure("cannot read the file's attributes");
    bytes.resize(bytes.size() * 4);
  }
}

std::optional<std::string> AttributeOf(int file, const char* name) {
  return ReadAttribute([&](char* bytes, std::size_t size) { return fgetxattr(file, name, bytes, size); });
}

// The others belong to the system, or say something of the file's bytes.
bool IsTakenOver(std::string_view name) noexcept {
  return name == accessList || name == "security.selinux" || name == "security.SMACK64" || name.starts_with("user.");
}

// Gives whether the access list was among them. What the new file has already is not set again, since that may take a right
// that the process lacks.
bool CopyAttributes(int original, int copy) {
  const std::optional<std::string> names =
      ReadAttribute([&](char* bytes, std::size_t size) { return flistxattr(original, bytes, size); });
  bool hasAccessList = false;
  for (std::size_t at = 0; names && at < names->size(); at = names->find('\0', at) + 1) {
    const char* const name = names->data() + at;
    if (!IsTakenOver(name)) continue;
    hasAccessList = hasAccessList || std::string_view(name) == accessList;
    const std::optional<std::string> value = AttributeOf(original, name);
    if (!value || AttributeOf(copy, name) == value) continue;
    if (Uninterrupted([&] { return fsetxattr(copy, name, value->data(), value->size(), 0); }) != 0) {
      ThrowSystemFailure("cannot take over the file's access list, security label or attributes");
    }
  }
  return hasAccessList;
}

void SetMode(int file, mode_t mode) {
  if (Uninterrupted([&] { return fchmod(file, mode); }) != 0) ThrowSystemFailure("cannot set the file's permissions");
}

} // namespace

TemporaryFile::TemporaryFile(const FileDescriptor& inFolder, Kind kind) : folder(inFolder) {
  if (kind == Kind::Unnamed) {
    file = FileDescriptor(OpenAt(folder.Number(), ".", O_TMPFILE | O_WRONLY, modeUntilTakenOver));
    if (file.IsOpen()) return;
  }
  ForFreeName(name, [&](const char* free) {
    file = FileDescriptor(OpenAt(folder.Number(), free, O_WRONLY | O_CREAT | O_EXCL, modeUntilTakenOver));
    if (!file.IsOpen() && errno != EEXIST) ThrowSystemFailure("cannot create a temporary file in the folder");
    return file.IsOpen();
  });
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
  const auto sameOwner = static_cast<uid_t>(-1);
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
    if (!groupIsSame && !change(sameOwner)) mode = (mode & ~groupBits) | (mode & othersBits) << 3;
  }
  if (CopyAttributes(original, file.Number())) {
    SetMode(file.Number(), mode);
  } else {
    SetAccess(mode);
  }
}

void TemporaryFile::SetAccess(mode_t mode) {
  // The folder may have given the new file a list that lets others do more than the mode says.
  if (Uninterrupted([&] { return fremovexattr(file.Number(), accessList); }) != 0 && errno != ENODATA &&
      errno != EOPNOTSUPP) {
    ThrowSystemFailure("cannot remove the folder's access list");
  }
  SetMode(file.Number(), mode);
}

void TemporaryFile::Flush() {
  if (Uninterrupted([&] { return fsync(file.Number()); }) != 0) ThrowSystemFailure("cannot flush to the disk");
}

TemporaryFile::Naming TemporaryFile::Link(const std::string& target) {
  const auto link = [&](int from, const std::string& source, int flags) {
    return Uninterrupted([&] { return linkat(from, source.c_str(), folder.Number(), target.c_str(), flags); }) == 0;
  };
  const auto failure = [] { return errno == EEXIST ? Naming::Taken : Naming::Refused; };
  if (!HasName()) {
    if (link(file.Number(), "", AT_EMPTY_PATH)) return Naming::Done; // takes a right, or a new kernel
    if (errno == EEXIST) return Naming::Taken;
    const std::string path = "/proc/self/fd/" + std::to_string(file.Number());
    return link(AT_FDCWD, path, AT_SYMLINK_FOLLOW) ? Naming::Done : failure();
  }
  if (link(folder.Number(), name, 0)) return Naming::Done; // the other name goes in the end
  if (errno == EEXIST) return Naming::Taken;
  const auto move = [&] {
    return renameat2(folder.Number(), name.c_str(), folder.Number(), target.c_str(), RENAME_NOREPLACE);
  };
  if (Uninterrupted(move) != 0) return failure();
  name.clear();
  return Naming::Done;
}

TemporaryFile::Naming TemporaryFile::Replace(const std::string& target) {
  if (!HasName()) {
    Naming naming = Naming::Taken;
    std::string free;
    ForFreeName(free, [&](const char* candidate) { return (naming = Link(candidate)) != Naming::Taken; });
    if (naming == Naming::Refused) return naming;
    name = std::move(free);
  }
  const auto move = [&] { return renameat(folder.Number(), name.c_str(), folder.Number(), target.c_str()); };
  if (Uninterrupted(move) != 0) ThrowSystemFailure("cannot replace the file");
  name.clear();
  return Naming::Done;
}

FileState TemporaryFile::State() const noexcept {
  FileStatus status{};
  if (Uninterrupted([&] { return fstat(file.Number(), &status); }) != 0) return {};
  return StateOf(status, &stampedAt);
}

} // namespace platform
