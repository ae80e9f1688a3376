#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>

#include <algorithm>

#include "platform/platform.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept {
  constexpr std::size_t longestPiece = std::size_t{1} << 30;
  auto* next = static_cast<unsigned char*>(target);
  while (size > 0) {
    const std::size_t piece = std::min(size, longestPiece);
    if (BCryptGenRandom(nullptr, next, static_cast<ULONG>(piece), BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) return false;
    next += piece;
    size -= piece;
  }
  return true;
}

} // namespace platform
