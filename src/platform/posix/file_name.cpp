#include "platform/posix/file_name.h"

#include <cstdlib>

namespace platform {

bool NarrowFileName(const wchar_t* name, std::string& narrow) {
  const std::size_t length = std::wcstombs(nullptr, name, 0);
  if (length == static_cast<std::size_t>(-1)) return false;
  narrow.resize(length);
  return std::wcstombs(narrow.data(), name, length) == length;
}

std::string_view FolderPart(std::string_view name) noexcept {
  const std::size_t separator = name.rfind('/');
  return separator == std::string_view::npos ? std::string_view() : name.substr(0, separator + 1);
}

} // namespace platform
