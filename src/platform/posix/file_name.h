// File names as the system takes them.
#ifndef TARVIK_PLATFORM_POSIX_FILE_NAME_H
#define TARVIK_PLATFORM_POSIX_FILE_NAME_H

#include <string>
#include <string_view>

namespace platform {

// Converts to the locale's character set. False when a character has no form there. Throws std::bad_alloc.
bool NarrowFileName(const wchar_t* name, std::string& narrow);

// The folder part of a name, its last separator included; empty for a name without a folder.
std::string_view FolderPart(std::string_view name) noexcept;

} // namespace platform

#endif
