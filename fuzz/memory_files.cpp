#include "memory_files.h"

#include "platform/platform.h"

std::map<std::wstring, std::string>& MemoryFiles() {
  static std::map<std::wstring, std::string> files;
  return files;
}

namespace platform {

ReadStatus ReadWholeFile(const wchar_t* name, std::size_t limit, std::string& bytes) {
  const auto file = MemoryFiles().find(name);
  if (file == MemoryFiles().end()) return ReadStatus::Missing;
  if (file->second.size() > limit) return ReadStatus::TooLong;
  bytes = file->second;
  return ReadStatus::Done;
}

void ReplaceWholeFile(const wchar_t* name, std::string_view bytes) { MemoryFiles()[name] = bytes; }

void Sleep(std::uint32_t) noexcept {}

// Under the address sanitizer, a large block that comes and goes costs more than all the rest of an input.
void ExpectLargeAllocations() noexcept {}

} // namespace platform
