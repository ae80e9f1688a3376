// Memory in large pages where the system has them. Advice only: without them all works as well,
// with more page faults.
#include <sys/mman.h>

#include <cassert>
#include <cstdint>
#include <new>

#include "platform/platform.h"

namespace platform {

void* AllocateLargeBlock() {
  // Large pages need an aligned block, which twice the size always contains; the rest is unmapped.
  constexpr std::size_t reserved = 2 * largeBlockSize;
  void* const memory =
      mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  auto* const start = static_cast<char*>(memory);
  const std::size_t before =
      (largeBlockSize - reinterpret_cast<std::uintptr_t>(start) % largeBlockSize) % largeBlockSize;
  char* const block = start + before;
  assert(before <= reserved - largeBlockSize);
  if (before != 0) munmap(start, before);
  munmap(block + largeBlockSize, reserved - before - largeBlockSize);
  madvise(block, largeBlockSize, MADV_HUGEPAGE);
  return block;
}

void ReleaseLargeBlock(void* block) noexcept { munmap(block, largeBlockSize); }

// Only for the whole large pages in the memory, since partial pages may be shared with other data.
void PreferLargePages(void* memory, std::size_t size) noexcept {
  const auto start = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (start + largeBlockSize - 1) / largeBlockSize * largeBlockSize;
  const std::uintptr_t last = (start + size) / largeBlockSize * largeBlockSize;
  if (first < last)
    madvise(static_cast<char*>(memory) + (first - start), last - first, MADV_HUGEPAGE);
}

} // namespace platform
