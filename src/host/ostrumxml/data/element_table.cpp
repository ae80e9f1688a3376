#include "host/ostrumxml/data/element_table.h"

#include <algorithm>
#include <new>

#include "platform/platform.h"

namespace Ostrum {
namespace {

// From here on the elements of a document fill large blocks well enough.
constexpr std::size_t largeDocument = 1'000'000;

} // namespace

void ElementTable::AddBlock() {
  if (unusedBlocks == 0) AddChunk();
  blocks.push_back(new (unused) Block(&content, count + 1));
  next = blocks.back()->elements;
  blockEnd = next + Block::capacity;
  unused += sizeof(Block);
  --unusedBlocks;
}

// Chunks grow with the document, to limit waste in small ones and calls in large ones.
void ElementTable::AddChunk() {
  const std::size_t size = std::max(blocks.size() * sizeof(Block), expected);
  const bool isLarge = size >= largeDocument;
  const std::size_t added = isLarge ? platform::largeBlockSize / sizeof(Block)
                                    : std::clamp<std::size_t>(size / sizeof(Block), 1, 16);
  constexpr std::align_val_t alignment{alignof(Block)};
  const auto release = [](void* blocksInIt) noexcept { ::operator delete(blocksInIt, alignment); };
  chunks.push_back(isLarge ? Chunk(platform::AllocateLargeBlock(), platform::ReleaseLargeBlock)
                           : Chunk(::operator new(added * sizeof(Block), alignment), release));
  unused = static_cast<std::byte*>(chunks.back().get());
  unusedBlocks = added;
}

} // namespace Ostrum
