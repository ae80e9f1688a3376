#ifndef TARVIK_HOST_OSTRUMXML_ARENA_H
#define TARVIK_HOST_OSTRUMXML_ARENA_H

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/platform.h"

namespace Ostrum {

// Memory that is given out piece by piece and released all at once. No destructor of what lives in it is run.
class Arena {
 public:
  // expected: about how many bytes will be taken.
  explicit Arena(std::size_t expected) noexcept : expected(expected) {}

  // Memory for one object or array, aligned for pointers. Throws std::bad_alloc.
  void* Allocate(std::size_t size) {
    const std::size_t needed = (size + alignment - 1) / alignment * alignment;
    if (needed > left) return AllocateElsewhere(needed);
    std::byte* piece = next;
    next += needed;
    left -= needed;
    return piece;
  }

 private:
  static constexpr std::size_t alignment = alignof(void*);

  struct ReleaseLarge {
    void operator()(std::byte* block) const noexcept { platform::ReleaseLargeBlock(block); }
  };

  void* AllocateElsewhere(std::size_t needed);
  void Grow();
  std::size_t BlockSize() const noexcept;

  std::vector<std::unique_ptr<std::byte[]>> blocks;
  std::vector<std::unique_ptr<std::byte, ReleaseLarge>> largeBlocks;
  std::byte* next = nullptr;
  std::size_t left = 0;
  std::size_t held = 0;
  std::size_t expected;
};

} // namespace Ostrum

#endif
