#include <sys/mman.h>

#include <cstdint>

#include "platform/platform.h"

namespace platform {

// Only for the whole large pages in the memory, since partial pages may be shared with other data.
// Advice only: without large pages all works as well, with more page faults.
void PreferLargePages(void* memory, std::size_t size) noexcept {
  constexpr std::uintptr_t largePageSize = std::uintptr_t{2} << 20;
  const auto start = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (start + largePageSize - 1) / largePageSize * largePageSize;
  const std::uintptr_t last = (start + size) / largePageSize * largePageSize;
  if (first < last)
    madvise(static_cast<char*>(memory) + (first - start), last - first, MADV_HUGEPAGE);
}

} // namespace platform
