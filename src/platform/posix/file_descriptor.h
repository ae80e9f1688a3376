// Owns an open file.
#ifndef TARVIK_PLATFORM_POSIX_FILE_DESCRIPTOR_H
#define TARVIK_PLATFORM_POSIX_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace platform {

class FileDescriptor {
 public:
  explicit FileDescriptor(int openFile) noexcept : number(openFile) {}
  ~FileDescriptor() {
    if (IsOpen()) close(number);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  bool IsOpen() const noexcept { return number >= 0; }
  int Number() const noexcept { return number; }
  // Gives up the file, which the caller closes.
  int Release() noexcept { return std::exchange(number, -1); }

 private:
  int number;
};

} // namespace platform

#endif
