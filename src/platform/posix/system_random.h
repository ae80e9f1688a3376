// The system's cryptographically secure random source.
#ifndef TARVIK_PLATFORM_POSIX_SYSTEM_RANDOM_H
#define TARVIK_PLATFORM_POSIX_SYSTEM_RANDOM_H

#include <sys/random.h>

#include <cerrno>
#include <cstddef>

namespace platform {

// False on failure. Inline, because the library and corekit each draw for themselves.
inline bool FillFromSystem(void* target, std::size_t size) noexcept {
  auto* next = static_cast<unsigned char*>(target);
  while (size > 0) {
    const ssize_t drawn = getrandom(next, size, 0);
    if (drawn < 0 && errno == EINTR) continue;
    if (drawn <= 0) return false;
    next += drawn;
    size -= static_cast<std::size_t>(drawn);
  }
  return true;
}

} // namespace platform

#endif
