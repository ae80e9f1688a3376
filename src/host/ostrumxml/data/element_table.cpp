#include "host/ostrumxml/data/element_table.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/platform.h"

namespace Ostrum {
namespace {

// From this size of all records on, large pages make a first opening of a large document a quarter
// faster. Below, they would waste most of their memory.
constexpr std::size_t largeSize = 1'000'000;

void Release(void* block) noexcept { ::operator delete(block); }

} // namespace

void ElementTable::AddBlock() {
  if (unusedCount == 0) AddChunk();
  blocks.push_back(new (unused) Block{});
  ++unused;
  --unusedCount;
}

void ElementTable::AddChunk() {
  const bool isLarge = std::max(blocks.size() * sizeof(Block), expectedSize) >= largeSize;
  // Owned before the list grows, which can fail.
  Chunk chunk = isLarge ? Chunk(platform::AllocateLargeBlock(), platform::ReleaseLargeBlock)
                        : Chunk(::operator new(sizeof(Block)), Release);
  chunks.push_back(std::move(chunk));
  unused = static_cast<Block*>(chunks.back().get());
  unusedCount = isLarge ? platform::largeBlockSize / sizeof(Block) : 1;
}

} // namespace Ostrum
