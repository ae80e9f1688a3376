#ifndef TARVIK_HOST_OSTRUMXML_DATA_GAPS_H
#define TARVIK_HOST_OSTRUMXML_DATA_GAPS_H

#include <cassert>
#include <cstdint>
#include <iterator>
#include <map>

namespace Ostrum {

// Offsets into the source of a document.
struct SourceRange {
  std::uint32_t start, end;
};

// Where the removed children of an element were in the source. No two gaps adjoin each other.
class Gaps {
 public:
  // Joins the range with gaps in it and next to it. Throws std::bad_alloc.
  void Add(SourceRange range) {
    assert(range.start < range.end);
    const std::uint32_t start = Before(range.start);
    const std::uint32_t end = After(range.end);
    ends[start] = end; // first, because it can fail
    ends.erase(ends.upper_bound(start), ends.lower_bound(end));
  }

  // The offset, or the other end of a gap that ends or starts there.
  std::uint32_t Before(std::uint32_t offset) const noexcept {
    const auto next = ends.lower_bound(offset);
    if (next == ends.begin() || std::prev(next)->second != offset) return offset;
    return std::prev(next)->first;
  }
  std::uint32_t After(std::uint32_t offset) const noexcept {
    const auto gap = ends.find(offset);
    if (gap == ends.end()) return offset;
    return gap->second;
  }

  // Pairs of start and end, in order.
  auto begin() const noexcept { return ends.begin(); }
  auto end() const noexcept { return ends.end(); }

 private:
  std::map<std::uint32_t, std::uint32_t> ends; // by start
};

} // namespace Ostrum

#endif
