// Compiled into both the library and corekit.
#include <cassert>

#include "platform/platform.h"
#include "platform/posix/file_descriptor.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept {
  assert(size <= 256); // getentropy's limit
  return Uninterrupted(getentropy, target, size) == 0;
}

} // namespace platform
