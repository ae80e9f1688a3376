// Another program may hold a file for a moment, so opening and reading are tried again for a while.
// Access lists are read, compared and written whole; what their entries mean is the system's
// business.
#include <windows.h>
// After windows.h, which it needs.
#include <winternl.h>

#include <cassert>

#include "platform/file_parts.h"
#include "platform/windows/open_file.h"

// Missing in the compiler's headers.
extern "C" NTSYSAPI NTSTATUS NTAPI RtlGetLastNtStatus();

namespace platform {
namespace {

// Folder, drive, server, share and names that cannot exist included.
constexpr DWORD missingErrors[] = {
    ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_DRIVE, ERROR_BAD_NETPATH,
    ERROR_BAD_NET_NAME,   ERROR_INVALID_NAME,   ERROR_BAD_PATHNAME,  ERROR_FILENAME_EXCED_RANGE};

constexpr auto deletePending = static_cast<NTSTATUS>(0xC0000056); // STATUS_DELETE_PENDING

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

ReadStatus OpeningStatus(DWORD error) noexcept {
  if (std::ranges::count(missingErrors, error) > 0) return ReadStatus::Missing;
  return ReadStatus::Unreadable;
}

bool IsInUse() noexcept {
  const DWORD error = GetLastError();
  return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
         (error == ERROR_ACCESS_DENIED && RtlGetLastNtStatus() == deletePending);
}

// Adds the prefix that lifts the limit of 260 characters, which absolute names only can have.
// Device names have another one.
FileName AbsoluteFileName(const char*, const wchar_t* wide) {
  const std::wstring full = ReadText([wide](wchar_t* buffer, DWORD capacity) {
    return GetFullPathNameW(wide, capacity, buffer, nullptr);
  });
  if (full.empty()) return wide;
  if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) return full;
  if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
  return L"\\\\?\\" + full;
}

Handle TryOpenExisting(const std::wstring& name, DWORD access, DWORD flags) noexcept {
  constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return MakeHandle(
      CreateFileW(name.c_str(), access, shareAll, nullptr, OPEN_EXISTING, flags, nullptr));
}

Handle OpenExisting(const std::wstring& name, DWORD access, DWORD flags) noexcept {
  Handle file;
  RetryWhileInUse(
      [&] {
        file = TryOpenExisting(name, access, flags);
        return file != nullptr;
      },
      IsInUse);
  return file;
}

// A pipe or a console has no identity, and reading it could block forever. On ReFS two files can
// have the same 64-bit number, but hardly the same size and times as well.
std::optional<FileStatus> QueryStatus(const Handle& file) noexcept {
  BY_HANDLE_FILE_INFORMATION found{};
  FILE_BASIC_INFO basic{};
  if (GetFileType(file.get()) != FILE_TYPE_DISK) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return {};
  }
  if (!GetFileInformationByHandle(file.get(), &found) ||
      !GetFileInformationByHandleEx(file.get(), FileBasicInfo, &basic, sizeof basic))
    return {};
  const auto join = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
  return FileStatus{
      {found.dwVolumeSerialNumber, join(found.nFileIndexHigh, found.nFileIndexLow),
       join(found.nFileSizeHigh, found.nFileSizeLow), basic.LastWriteTime.QuadPart - start1970,
       basic.ChangeTime.QuadPart - start1970},
      found.dwFileAttributes,
      basic.CreationTime};
}

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

ReadStatus ReadOpenFile(const Handle& file, std::uint64_t size, std::size_t limit,
                        std::string& bytes) {
  const auto readSome = [&file](char* buffer, std::size_t capacity) {
    DWORD count = 0;
    // Part of a file may be locked.
    const bool isRead = RetryWhileInUse(
        [&] { return ReadFile(file.get(), buffer, static_cast<DWORD>(capacity), &count, nullptr); },
        IsInUse);
    return isRead ? static_cast<std::int64_t>(count) : -1;
  };
  return ReadToEnd(readSome, size, limit, bytes);
}

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  const Handle file = OpenExisting(name.native(), GENERIC_READ, FILE_FLAG_SEQUENTIAL_SCAN);
  if (!file) return OpeningStatus(GetLastError());
  const std::optional<FileStatus> status = QueryStatus(file);
  if (!status) return ReadStatus::Unreadable;
  state = StateNow(status->identity, ReadAccess(file, *status));
  return ReadOpenFile(file, status->identity.size, limit, bytes);
}

} // namespace platform
