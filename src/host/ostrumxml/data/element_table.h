#ifndef TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_TABLE_H
#define TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_TABLE_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Ostrum {

// Bits of ElementRecord::flags. Nearly all elements have none that leads to further data, so they
// are spared the lookup.
namespace element_flags {
inline constexpr std::uint32_t hasParsedChildren = 1; // the first of them has the next number
inline constexpr std::uint32_t created = 2;           // is not in the source
inline constexpr std::uint32_t changed = 4;           // DocumentData::changes has an entry
inline constexpr std::uint32_t childrenIndexed = 8;   // IndexedDocument has a child index
inline constexpr std::uint32_t removed = 16;          // searches and walks pass it by
} // namespace element_flags

// What a document knows of one element. Positions are byte offsets into the source; all are 0 for
// an element that was created.
struct ElementRecord {
  std::uint32_t name;         // its number in the name table
  std::uint32_t tagStart;     // of the "<"
  std::uint32_t contentStart; // after the ">" of the start tag, or of an empty-element tag
  std::uint32_t contentEnd;   // of the end tag's "<"; contentStart for an empty-element tag
  std::uint32_t nextSibling;  // its number in the element table; 0 for the last child
  std::uint32_t flags;        // of element_flags
};
static_assert(sizeof(ElementRecord) == 24, "held once for each element");

// The elements of one document, numbered from 1 in the order in which they were added; 0 stands for
// no element. Records never move.
class ElementTable {
 public:
  // expectedCount: roughly how many elements there will be. Memory for them is requested together,
  // but not touched before it is used.
  explicit ElementTable(std::size_t expectedCount) noexcept
      : expectedBlocks(expectedCount / blockCapacity) {}
  ElementTable(ElementTable&&) = delete;

  // Adds a record, which the caller fills, and returns its number. Throws std::bad_alloc; the table
  // is then unchanged.
  std::uint32_t Add() {
    if (next / blockCapacity == blocks.size()) AddBlocks();
    return next++;
  }

  // REQUIRES: number was returned by Add.
  ElementRecord& operator[](std::uint32_t number) noexcept { return At(number); }
  const ElementRecord& operator[](std::uint32_t number) const noexcept { return At(number); }

 private:
  static constexpr std::uint32_t blockCapacity = 128; // a power of two, to find a record quickly

  ElementRecord& At(std::uint32_t number) const noexcept {
    assert(number != 0 && number < next);
    return blocks[number / blockCapacity][number % blockCapacity];
  }

  void AddBlocks();

  std::size_t expectedBlocks;
  std::uint32_t next = 1;
  std::vector<ElementRecord*> blocks;
  std::vector<std::unique_ptr<ElementRecord[]>> chunks; // each holds one or more blocks
};

} // namespace Ostrum

#endif
