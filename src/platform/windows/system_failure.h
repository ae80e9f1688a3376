#ifndef TARVIK_PLATFORM_WINDOWS_SYSTEM_FAILURE_H
#define TARVIK_PLATFORM_WINDOWS_SYSTEM_FAILURE_H

#include <windows.h>

#include <system_error>

namespace platform {

// Throws a std::runtime_error: what could not be done, and why by the system's error number.
[[noreturn]] inline void ThrowSystemFailure(const char* step, DWORD error = GetLastError()) {
  throw std::system_error(static_cast<int>(error), std::system_category(), step);
}

} // namespace platform

#endif
