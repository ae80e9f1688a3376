#ifndef TARVIK_HOST_OSTRUMXML_ARENA_H
#define TARVIK_HOST_OSTRUMXML_ARENA_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace Ostrum {

// Memory that is given out piece by piece and released all at once. No destructor of what lives in it is run.
class Arena {
 public:
  // Memory for one object or array, aligned for pointers. Throws std::bad_alloc.
  void* Allocate(std::size_t size) {
    const std::size_t needed = (size + alignment - 1) / alignment * alignment;
    if (needed > left) Grow(needed);
    std::byte* piece = next;
    next += needed;
    left -= needed;
    return piece;
  }

 private:
  static constexpr std::size_t alignment = alignof(void*);

  // Blocks grow with what is held already, so that a small document holds little and a large one little in vain.
  void Grow(std::size_t needed) {
    const std::size_t size = std::max(needed, std::clamp<std::size_t>(held / 8, 2'048, 262'144));
    blocks.emplace_back(new std::byte[size]);
    next = blocks.back().get();
    left = size;
    held += size;
  }

  std::vector<std::unique_ptr<std::byte[]>> blocks;
  std::byte* next = nullptr;
  std::size_t left = 0;
  std::size_t held = 0;
};

} // namespace Ostrum

#endif
