#include <map>

#include "harness.h"
#include "platform/platform.h"

std::string& MemoryFile(const std::wstring& name) {
  static std::map<std::wstring, std::string> files;
  return files[name];
}

namespace platform {

ReadStatus ReadWholeFile(const wchar_t* name, std::size_t limit, std::string& bytes) {
  bytes = MemoryFile(name);
  return bytes.size() > limit ? ReadStatus::TooLong : ReadStatus::Done;
}

void ReplaceWholeFile(const wchar_t* name, std::string_view bytes) { MemoryFile(name) = bytes; }

void Sleep(std::uint32_t) noexcept {}

// Under the address sanitizer, a large block that comes and goes costs more than all the rest of an input.
void ExpectLargeAllocations() noexcept {}

} // namespace platform
