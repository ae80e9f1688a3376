// Compiled into both the library and corekit.
#include <cassert>

#include "platform/linux/open_file.h"
#include "platform/platform.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept {
  assert(size <= 256); // getentropy's limit
  return Uninterrupted(getentropy, target, size) == 0;
}

} // namespace platform
