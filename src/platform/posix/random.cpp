// Compiled into the library and into corekit, which each draw for themselves.
#include <sys/random.h>

#include <cerrno>

#include "platform/platform.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept {
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
