#include "host/ostrumxml/arena.h"

#include <algorithm>

namespace Ostrum {
namespace {

// From here on a document's index fills large blocks well enough.
constexpr std::size_t largeDocument = 1'000'000;

} // namespace

// Blocks go by what is held or will be, so that a small document holds little and a large one little in vain.
std::size_t Arena::BlockSize() const noexcept {
  const std::size_t size = std::max(held, expected);
  return size >= largeDocument ? platform::largeBlockSize : std::clamp<std::size_t>(size / 8, 2'048, 65'536);
}

void* Arena::AllocateElsewhere(std::size_t needed) {
  if (needed <= BlockSize() / 4) {
    Grow();
    return Allocate(needed);
  }
  // A large piece has a block of its own, so that the rest of the current one is not lost.
  blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(needed));
  held += needed;
  platform::PreferLargePages(blocks.back().get(), needed);
  return blocks.back().get();
}

void Arena::Grow() {
  const std::size_t size = BlockSize();
  if (size == platform::largeBlockSize) {
    largeBlocks.emplace_back(static_cast<std::byte*>(platform::AllocateLargeBlock()));
    next = largeBlocks.back().get();
  } else {
    blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
    next = blocks.back().get();
  }
  left = size;
  held += size;
}

} // namespace Ostrum
