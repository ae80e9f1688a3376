#ifndef TARVIK_PLATFORM_POSIX_SYSTEM_FAILURE_H
#define TARVIK_PLATFORM_POSIX_SYSTEM_FAILURE_H

#include <cerrno>
#include <system_error>

namespace platform {

// Throws a std::runtime_error: what could not be done, and why by errno.
[[noreturn]] inline void ThrowSystemFailure(const char* step, int error = errno) {
  throw std::system_error(error, std::generic_category(), step);
}

} // namespace platform

#endif
