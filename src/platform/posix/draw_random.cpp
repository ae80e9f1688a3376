#include "platform/platform.h"
#include "platform/posix/system_random.h"

namespace platform {

bool DrawRandom(std::uint32_t& number) noexcept {
  std::uint32_t drawn = 0;
  if (!FillFromSystem(&drawn, sizeof drawn)) return false;
  number = drawn;
  return true;
}

} // namespace platform
