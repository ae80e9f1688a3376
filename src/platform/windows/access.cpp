// Access lists in the system's own form. They are read, compared and written whole; what their
// entries mean is the system's business.
#include "platform/windows/open_file.h"

#include <cassert>
#include <string_view>

namespace platform {
namespace {

// A descriptor's access list in a form that can be compared.
struct ComparableList {
  bool isProtected = false;             // from the folder's inheritable entries
  bool isAbsent = true;                 // everyone has all access
  std::basic_string_view<BYTE> entries; // the bytes in use

  bool operator==(const ComparableList&) const = default;
};

ComparableList ListIn(const std::vector<unsigned char>& descriptor) noexcept {
  ComparableList list;
  if (descriptor.empty()) return list;
  auto* const bytes = const_cast<unsigned char*>(descriptor.data()); // the calls only read
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  GetSecurityDescriptorControl(bytes, &control, &revision);
  list.isProtected = (control & SE_DACL_PROTECTED) != 0;
  BOOL isPresent = FALSE;
  BOOL isDefaulted = FALSE;
  ACL* acl = nullptr;
  ACL_SIZE_INFORMATION size{};
  if (!GetSecurityDescriptorDacl(bytes, &isPresent, &acl, &isDefaulted) || acl == nullptr ||
      !GetAclInformation(acl, &size, sizeof size, AclSizeInformation))
    return list;
  assert(size.AclBytesInUse >= sizeof *acl);
  list.isAbsent = false;
  list.entries = {reinterpret_cast<const BYTE*>(acl + 1), size.AclBytesInUse - sizeof *acl};
  return list;
}

} // namespace

std::shared_ptr<const Access> ReadAccess(const Handle& file, const FileStatus& status) {
  return std::make_shared<const Access>(Access{status.attributes, ReadAccessList(file)});
}

std::vector<unsigned char> ReadAccessList(const Handle& file) {
  std::vector<unsigned char> list;
  DWORD size = 0;
  while (!GetKernelObjectSecurity(file.get(), DACL_SECURITY_INFORMATION, list.data(),
                                  static_cast<DWORD>(list.size()), &size)) {
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return {};
    list.resize(size);
  }
  return list;
}

bool AreEqualAccessLists(const std::vector<unsigned char>& left,
                         const std::vector<unsigned char>& right) noexcept {
  return ListIn(left) == ListIn(right);
}

// Inherited entries keep following the folder.
bool WriteAccessList(const Handle& file, std::vector<unsigned char> list) noexcept {
  return SetSecurityDescriptorControl(list.data(), SE_DACL_AUTO_INHERIT_REQ,
                                      SE_DACL_AUTO_INHERIT_REQ) &&
         SetKernelObjectSecurity(file.get(), DACL_SECURITY_INFORMATION, list.data());
}

} // namespace platform
