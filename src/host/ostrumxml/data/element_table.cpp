#include "host/ostrumxml/data/element_table.h"

#include <algorithm>

#include "platform/platform.h"

namespace Ostrum {

// As many as are expected, or as have been needed so far.
void ElementTable::AddBlocks() {
  constexpr std::size_t maxCount = 16'000'000 / (blockCapacity * sizeof(ElementRecord));
  const std::size_t needed = std::max(expectedBlocks, blocks.size());
  const std::size_t count = std::clamp<std::size_t>(needed, 1, maxCount);
  blocks.reserve(blocks.size() + count);
  chunks.push_back(std::make_unique_for_overwrite<ElementRecord[]>(count * blockCapacity));
  ElementRecord* const records = chunks.back().get();
  platform::PreferLargePages(records, count * blockCapacity * sizeof *records);
  for (std::size_t i = 0; i < count; ++i) blocks.push_back(records + i * blockCapacity);
}

} // namespace Ostrum
