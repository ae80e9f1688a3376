// The new file of a save on its way to its final name. Until its content is on the disk it is
// marked to be deleted when it is closed, so a process that is killed leaves nothing behind.
#ifndef TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H
#define TARVIK_PLATFORM_WINDOWS_TEMPORARY_FILE_H

#include <cassert>
#include <cstring>

#include "platform/file_parts.h"
#include "platform/windows/access.h"

namespace platform {

// It is hidden, and removed unless it gets its final name. Every operation throws std::system_error
// or std::bad_alloc.
class TemporaryFile {
 public:
  // Creates a file in the folder, whose name ends in a separator. `number` is in the file's name:
  // what a killed process left under it is removed first; if that is in use, the name is random.
  // `attributes` are those of the final file.
  TemporaryFile(std::wstring_view folder, std::uint64_t number, DWORD attributes)
      : finalAttributes(attributes) {
    const auto create = [&](const std::string& own) {
      name.assign(folder).append(own.begin(), own.end());
      DeleteFileW(name.c_str());
      const DWORD initial = FILE_ATTRIBUTE_HIDDEN | (attributes & FILE_ATTRIBUTE_ENCRYPTED);
      file = MakeHandle(CreateFileW(name.c_str(), GENERIC_WRITE | READ_CONTROL | DELETE, 0, nullptr,
                                    CREATE_NEW, initial, nullptr));
      return file != nullptr;
    };
    if (!create(TemporaryName(number)) && !create(TemporaryName()))
      ThrowSystemFailure("cannot create a temporary file in the folder");
    SetDeleteOnClose(true);
  }

  ~TemporaryFile() {
    if (!name.empty()) SetDeleteOnClose(true);
  }
  TemporaryFile(TemporaryFile&&) = delete;

  // Gives the file this access list, unless it has an equal one by inheritance. REQUIRES: nothing
  // was written yet.
  void SetAccessList(const std::vector<unsigned char>& list) {
    if (list.empty() || AreEqualAccessLists(list, ReadAccessList(file))) return;
    // A share can grant all that a save needs but this right, so only this handle has it.
    SetDeleteOnClose(false);
    const Handle forList = OpenExisting(name, WRITE_DAC);
    const bool isWritten = forList && WriteAccessList(forList, list);
    const DWORD error = GetLastError();
    SetDeleteOnClose(true);
    if (!isWritten) ThrowSystemFailure("cannot copy the file's access list", error);
  }

  void Write(const std::vector<std::string_view>& pieces) {
    assert(file && stampedAt == 0); // a later write would change the time
    constexpr std::size_t maxSize = std::size_t{1} << 30;
    for (std::string_view piece : pieces) {
      while (!piece.empty()) {
        const auto size = static_cast<DWORD>(std::min(piece.size(), maxSize));
        DWORD count = 0;
        if (!WriteFile(file.get(), piece.data(), size, &count, nullptr))
          ThrowSystemFailure("cannot write");
        if (count == 0) ThrowSystemFailure("cannot write", ERROR_DISK_FULL);
        piece.remove_prefix(count);
      }
    }
  }

  // Sets the file's times and flushes it. creationTime 0: now. REQUIRES: all is written.
  void Finish(LARGE_INTEGER creationTime) {
    stampedAt = CurrentTime();
    FILE_BASIC_INFO basic{};
    basic.CreationTime = creationTime;
    basic.LastWriteTime.QuadPart = stampedAt;
    SetAttributes(basic, finalAttributes | FILE_ATTRIBUTE_HIDDEN);
    if (!FlushFileBuffers(file.get())) ThrowSystemFailure("cannot flush to the disk");

    SetDeleteOnClose(false);
    named = OpenExisting(name, FILE_READ_ATTRIBUTES | READ_CONTROL);
    FileStatus status;
    if (!named || !QueryStatus(named, status)) ThrowSystemFailure("cannot read the file's status");
    volume = status.file.dwVolumeSerialNumber; // Wine forgets it when the file is renamed
  }

  // Gives the file its final name, and shows it unless it is to be hidden. Closes `original`, the
  // file that is to be replaced, on systems that cannot replace an open file. False if
  // `replaces` is false and a file has that name, or if isUnchanged(), which is called directly
  // before each attempt, is false. REQUIRES: Finish was called.
  template <class Test>
  bool RenameTo(const std::wstring& target, bool replaces, Handle& original, Test isUnchanged) {
    assert(named);
    std::vector<char> request = RenameRequest(target);
    const DWORD flags = replaces ? replaceIfExists : 0;
    if ((finalAttributes & FILE_ATTRIBUTE_HIDDEN) == 0) SetAttributes({}, finalAttributes);
    bool isChanged = false;
    const auto rename = [&]() noexcept {
      isChanged = !isUnchanged();
      if (isChanged || Rename(request, fileRenameInfoEx, flags | posixSemantics)) return true;
      // The errors of systems, file systems and servers that lack the newer way.
      const DWORD error = GetLastError();
      if (error != ERROR_INVALID_FUNCTION && error != ERROR_NOT_SUPPORTED &&
          error != ERROR_INVALID_PARAMETER)
        return false;
      original.reset();
      return Rename(request, FileRenameInfo, flags);
    };
    if (!RetryWhileInUse(rename, [&] { return IsReplaceableLater(target); })) {
      const DWORD error = GetLastError();
      if (!replaces && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
      ThrowSystemFailure("cannot replace the file", error);
    }
    if (!isChanged) name.clear();
    return !isChanged;
  }

  // Closes the file. REQUIRES: it has its final name.
  FileState State() {
    assert(name.empty());
    file.reset();
    FileStatus status;
    if (!QueryStatus(named, status)) return {};
    status.file.dwVolumeSerialNumber = volume;
    return StateAt(CurrentTime(), second, IdentityOf(status), ReadAccess(named, status), stampedAt);
  }

 private:
  // Not in the compiler's headers for all versions of Windows.
  static constexpr auto fileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  static constexpr DWORD replaceIfExists = 1, posixSemantics = 2;

  // Even if the process is killed.
  void SetDeleteOnClose(bool isDeleted) const noexcept {
    FILE_DISPOSITION_INFO disposition{isDeleted};
    SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
  }

  // Of the attributes, only those that can be set.
  void SetAttributes(FILE_BASIC_INFO basic, DWORD attributes) const {
    constexpr DWORD settable =
        FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;
    basic.FileAttributes = (attributes & settable) | FILE_ATTRIBUTE_ARCHIVE;
    if (!SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic))
      ThrowSystemFailure("cannot copy the file's attributes");
  }

  // What the system takes for a rename, without the flags.
  static std::vector<char> RenameRequest(const std::wstring& target) {
    FILE_RENAME_INFO info{};
    info.FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
    std::vector<char> request(sizeof info + info.FileNameLength);
    std::memcpy(request.data(), &info, sizeof info);
    std::memcpy(request.data() + offsetof(FILE_RENAME_INFO, FileName), target.data(),
                info.FileNameLength);
    return request;
  }

  // False on failure, and GetLastError tells why. Unlike a rename by name, it cannot meet another
  // file. ReplaceFile is not used, because it removes the old file before the new one has its name:
  // a crash in between leaves none.
  bool Rename(std::vector<char>& request, FILE_INFO_BY_HANDLE_CLASS way, DWORD flags) noexcept {
    static_assert(offsetof(FILE_RENAME_INFO, ReplaceIfExists) == 0, "the flags' place");
    assert(request.size() > sizeof(FILE_RENAME_INFO));
    std::memcpy(request.data(), &flags, sizeof flags);
    return SetFileInformationByHandle(file.get(), way, request.data(),
                                      static_cast<DWORD>(request.size()));
  }

  // Whether a file that could not be replaced may be replaceable later. Access is denied both if
  // another program has it open, and if this one may not delete it, which opening it shows.
  static bool IsReplaceableLater(const std::wstring& target) noexcept {
    if (IsInUse()) return true;
    if (GetLastError() != ERROR_ACCESS_DENIED) return false;
    const bool isDeletable = TryOpenExisting(target, DELETE) || IsInUse();
    SetLastError(ERROR_ACCESS_DENIED);
    return isDeletable;
  }

  const DWORD finalAttributes;
  std::wstring name; // empty once it is the final one
  Handle file;       // excludes other programs
  Handle named;      // for the state; excludes no one
  DWORD volume = 0;
  std::int64_t stampedAt = 0;
};

} // namespace platform

#endif
