// Owns an open file.
#ifndef TARVIK_PLATFORM_WINDOWS_FILE_HANDLE_H
#define TARVIK_PLATFORM_WINDOWS_FILE_HANDLE_H

#include <windows.h>

#include <utility>

namespace platform {

class FileHandle {
 public:
  explicit FileHandle(HANDLE openFile) noexcept : handle(openFile) {}
  ~FileHandle() {
    if (IsOpen()) CloseHandle(handle);
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  bool IsOpen() const noexcept { return handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const noexcept { return handle; }
  // Gives up the file, which the caller closes.
  HANDLE Release() noexcept { return std::exchange(handle, INVALID_HANDLE_VALUE); }

 private:
  HANDLE handle;
};

} // namespace platform

#endif
