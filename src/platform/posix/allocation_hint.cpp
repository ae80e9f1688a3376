#include <cstdlib>

#include "platform/platform.h"

namespace platform {

// The C library raises its limit for keeping memory when a block that it had mapped on its own is freed. Without that it
// gives back what a closed document held, and opening 0.1 MB again and again takes twice the time, spent in page faults.
void ExpectLargeAllocations() noexcept {
  void* volatile block = std::malloc(largeBlockSize);
  std::free(block);
}

} // namespace platform
