// Access lists as the kernel stores them, in the extended attribute. Access is only ever reduced
// when it cannot be given exactly: whatever this process may not set, nobody gets.
#include "platform/linux/open_file.h"

#include <endian.h>
#include <grp.h>
#include <linux/limits.h>
#include <linux/posix_acl.h>
#include <pwd.h>
#include <sys/xattr.h>

#include <algorithm>

namespace platform {
namespace {

constexpr const char* accessList = "system.posix_acl_access";
constexpr mode_t permissionBits = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr mode_t readWriteExecute = 7; // of owner, group or others, moved to the lowest bits

bool IsUnsupportedOrMissing(int error) noexcept {
  return error == ENODATA || error == EOPNOTSUPP || error == ENOSYS;
}

// The value of a file's extended attribute, or the names of all if no name is given; nothing if
// there is none.
std::optional<std::string> ReadAttribute(int file, const char* name = nullptr) {
  static_assert(XATTR_LIST_MAX <= XATTR_SIZE_MAX);
  std::string value;
  // The system clears as much memory as is asked for, and most values are short.
  for (const std::size_t capacity : {std::size_t{256}, std::size_t{XATTR_SIZE_MAX}}) {
    value.resize(capacity);
    const ssize_t size = name == nullptr
                             ? Uninterrupted(flistxattr, file, value.data(), capacity)
                             : Uninterrupted(fgetxattr, file, name, value.data(), capacity);
    value.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (size >= 0) return value;
    if (errno != ERANGE) break;
  }
  if (!IsUnsupportedOrMissing(errno)) ThrowSystemFailure("cannot read the file's attributes");
  return std::nullopt;
}

using AccessList = std::vector<posix_acl_xattr_entry>;

// Null if there is none.
posix_acl_xattr_entry* FindEntry(AccessList& list, std::uint16_t tag) noexcept {
  const auto found = std::ranges::find(list, htole16(tag), &posix_acl_xattr_entry::e_tag);
  if (found == list.end()) return nullptr;
  return &*found;
}

AccessList ReadAccessList(int file) {
  const std::string value = ReadAttribute(file, accessList).value_or("");
  const std::size_t start = std::min(sizeof(posix_acl_xattr_header), value.size());
  AccessList list((value.size() - start) / sizeof(posix_acl_xattr_entry));
  value.copy(reinterpret_cast<char*>(list.data()), list.size() * sizeof list[0], start);
  if (FindEntry(list, ACL_MASK) == nullptr) list.clear(); // says no more than the mode
  return list;
}

void SetAccessList(int file, const AccessList& list) {
  if (list.empty()) {
    // The new file may have inherited a list from the folder that allows more than the mode.
    const bool isRemoved = Uninterrupted(fremovexattr, file, accessList) == 0;
    if (!isRemoved && !IsUnsupportedOrMissing(errno))
      ThrowSystemFailure("cannot remove the folder's access list");
    return;
  }
  const posix_acl_xattr_header header{htole32(POSIX_ACL_XATTR_VERSION)};
  std::string value(reinterpret_cast<const char*>(&header), sizeof header);
  value.append(reinterpret_cast<const char*>(list.data()), list.size() * sizeof list[0]);
  CheckedCall("cannot copy the file's access list", fsetxattr, file, accessList, value.data(),
              value.size(), 0);
}

// What the access becomes if the file gets that owner and group. The members of the old group then
// count as others, and those of the new one have counted as others, so both get only what others
// and group may.
Access Restrict(Access access, uid_t owner, gid_t group) noexcept {
  const auto set = [&](std::uint16_t tag, mode_t permissions) {
    posix_acl_xattr_entry* const entry = FindEntry(access.list, tag);
    if (entry != nullptr)
      entry->e_perm = htole16(static_cast<std::uint16_t>(permissions & readWriteExecute));
  };
  if (owner != access.owner || group != access.group) access.mode &= permissionBits;
  access.owner = owner;
  if (std::exchange(access.group, group) != group) {
    mode_t common = access.mode & access.mode >> 3 & readWriteExecute;
    if (access.list.empty()) access.mode = (access.mode & ~mode_t{S_IRWXG}) | common << 3;
    if (const auto* const entry = FindEntry(access.list, ACL_GROUP_OBJ))
      common &= le16toh(entry->e_perm);
    set(ACL_GROUP_OBJ, common);
    access.mode = (access.mode & ~mode_t{S_IRWXO}) | common;
  }
  // The new mode sets these, too, but only later. The owner's entry can wait for that.
  set(ACL_MASK, access.mode >> 3);
  set(ACL_OTHER, access.mode);
  return access;
}

// All groups of a user; none if the system does not know the user.
std::vector<gid_t> GroupsOf(uid_t user) {
  constexpr std::size_t maxBytes = std::size_t{1} << 20; // of an account's texts
  const auto texts = std::make_unique_for_overwrite<char[]>(maxBytes);
  passwd account{};
  passwd* found = nullptr;
  int error = EINTR;
  while (error == EINTR) error = getpwuid_r(user, &account, texts.get(), maxBytes, &found);
  if (error == ENOMEM) throw std::bad_alloc();
  if (found == nullptr) return {};
  std::vector<gid_t> groups(NGROUPS_MAX);
  int count = NGROUPS_MAX;
  getgrouplist(account.pw_name, account.pw_gid, groups.data(), &count);
  groups.resize(static_cast<std::size_t>(std::clamp(count, 0, NGROUPS_MAX)));
  return groups;
}

// Whether a user who is not the owner may do all that is wanted, as the system judges it: by the
// user's own entry, or by one entry of the user's groups that grants everything, or like others.
bool IsGranted(const Access& access, uid_t user, mode_t wanted) {
  assert(user != access.owner);
  if (user == 0) return true;
  const std::vector<gid_t> groups = GroupsOf(user);
  const auto allows = [&](mode_t permissions) {
    return (wanted & ~(permissions & access.mode >> 3)) == 0; // the mode's group bits are the mask
  };
  const auto isMemberOf = [&](gid_t group) { return std::ranges::count(groups, group) > 0; };
  std::optional<bool> byGroup; // nothing if the user is in no group of the file
  if (access.list.empty() && isMemberOf(access.group)) byGroup = allows(readWriteExecute);
  for (const posix_acl_xattr_entry& entry : access.list) {
    const std::uint32_t id = le32toh(entry.e_id);
    const int tag = le16toh(entry.e_tag);
    const bool isAllowed = allows(le16toh(entry.e_perm));
    if (tag == ACL_USER && id == user) return isAllowed;
    if ((tag == ACL_GROUP_OBJ && isMemberOf(access.group)) || (tag == ACL_GROUP && isMemberOf(id)))
      byGroup = byGroup.value_or(false) || isAllowed;
  }
  return byGroup.value_or((wanted & ~access.mode) == 0);
}

// Sets owner and group of an open file as far as possible, the group alone if the owner cannot be
// changed. Returns the status that the file then has.
FileStatus ChangeOwner(int file, const FileStatus& status, const Access& wanted) {
  for (const uid_t owner : {wanted.owner, status.access.owner}) {
    if (owner == status.access.owner && wanted.group == status.access.group) break;
    if (Uninterrupted(fchown, file, owner, wanted.group) == 0) {
      // Some file systems accept this and change nothing.
      if (const auto now = QueryStatus(file)) return *now;
      ThrowSystemFailure("cannot read the new file's status");
    }
    if (errno == ENOMEM) throw std::bad_alloc();
  }
  return status;
}

} // namespace

std::shared_ptr<const Access> ReadAccess(int file, const FileStatus& status) {
  auto access = std::make_shared<Access>(status.access);
  access->list = ReadAccessList(file);
  return access;
}

std::shared_ptr<const Access> GiveAccess(int file, const FileStatus& status, const Access& wanted,
                                         bool ownerLosesNothing) {
  // The owner comes first, because changing it clears the set-user-ID and set-group-ID bits.
  const Access owned = ChangeOwner(file, status, wanted).access;
  Access given = Restrict(wanted, owned.owner, owned.group);
  if (ownerLosesNothing && given.owner != wanted.owner &&
      !IsGranted(given, wanted.owner, wanted.mode >> 6 & readWriteExecute))
    ThrowSystemFailure("cannot keep the file's owner, who would lose access", EPERM);
  SetAccessList(file, given.list);
  // Some file systems cannot set a mode, and give all files the same.
  const bool hasMode = Uninterrupted(fchmod, file, given.mode) == 0 ||
                       (owned.mode & ALLPERMS) == (given.mode & ALLPERMS);
  if (!hasMode) ThrowSystemFailure("cannot set the new file's mode");
  return std::make_shared<const Access>(std::move(given));
}

// All other attributes belong to the system or describe the file's content. Attributes that the
// copy already has are not set again, since the process may lack the right to set them.
void CopyAttributes(int original, int copy) {
  const std::string names = ReadAttribute(original).value_or("");
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    const std::string_view name = names.data() + at;
    const bool isCopied =
        name == "security.selinux" || name == "security.SMACK64" || name.starts_with("user.");
    if (!isCopied) continue;
    const std::optional<std::string> value = ReadAttribute(original, name.data());
    if (!value || ReadAttribute(copy, name.data()) == value) continue;
    CheckedCall("cannot copy the file's attributes", fsetxattr, copy, name.data(), value->data(),
                value->size(), 0);
  }
}

} // namespace platform
