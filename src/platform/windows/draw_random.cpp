#define _CRT_RAND_S // declares rand_s
#include <stdlib.h>

#include "platform/platform.h"

namespace platform {

bool DrawRandom(std::uint32_t& number) noexcept {
  unsigned int drawn = 0;
  if (rand_s(&drawn) != 0) return false;
  number = drawn;
  return true;
}

} // namespace platform
