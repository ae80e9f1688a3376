// Compiled into both the library and corekit.
#define _CRT_RAND_S // declares rand_s
#include <stdlib.h>

#include <algorithm>
#include <cstring>

#include "platform/platform.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept {
  auto* const bytes = static_cast<unsigned char*>(target);
  unsigned int drawn = 0;
  for (std::size_t at = 0; at < size; at += sizeof drawn) {
    if (rand_s(&drawn) != 0) return false;
    std::memcpy(bytes + at, &drawn, std::min(sizeof drawn, size - at));
  }
  return true;
}

} // namespace platform
