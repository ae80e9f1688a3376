#ifndef TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_TABLE_H
#define TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_TABLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {

struct Content;

// The elements of one document, at fixed addresses and numbered from 1 in the order in which they
// were added. They lie in blocks whose own addresses are aligned to their size, so that an
// element's address leads to its block, and with it to its number and its document: none of these
// takes room in the element.
class ElementTable {
 public:
  // expected: about how many bytes the elements will take.
  ElementTable(Content& content, std::size_t expected) noexcept
      : content(content), expected(expected) {}
  ElementTable(ElementTable&&) = delete;

  // A new element with the next number. Throws std::bad_alloc.
  Element& Add() {
    if (next == blockEnd) AddBlock();
    ++count;
    return *new (next++) Element;
  }
  std::uint32_t Count() const noexcept { return count; }
  Element& At(std::uint32_t number) const noexcept {
    return blocks[(number - 1) / Block::capacity]->elements[(number - 1) % Block::capacity];
  }

  // REQUIRES: the element is in a table; the null element is not.
  static Content& ContentOf(const Element& element) noexcept { return *BlockOf(element).content; }
  static std::uint32_t NumberOf(const Element& element) noexcept {
    const Block& block = BlockOf(element);
    return block.firstNumber + static_cast<std::uint32_t>(&element - block.elements);
  }
  // The element with the next number. REQUIRES: there is one.
  static Element& Following(const Element& element) noexcept;

 private:
  struct alignas(4096) Block {
    static constexpr std::size_t capacity = 170;

    Block(Content* content, std::uint32_t firstNumber) noexcept
        : content(content), firstNumber(firstNumber) {}

    Content* content;
    std::uint32_t firstNumber;
    union {
      Element elements[capacity]; // each is made when it is added
    };
  };
  static_assert(sizeof(Element) == 24);
  static_assert(sizeof(Block) == 4096);

  using Chunk =
      std::unique_ptr<void, void (*)(void*) noexcept>; // blocks that were allocated together

  static const Block& BlockOf(const Element& element) noexcept {
    const std::size_t offset = reinterpret_cast<std::uintptr_t>(&element) % alignof(Block);
    return *reinterpret_cast<const Block*>(reinterpret_cast<const std::byte*>(&element) - offset);
  }
  void AddBlock();
  void AddChunk();

  Content& content;
  std::size_t expected;
  std::uint32_t count = 0;
  Element* next = nullptr; // to be made in the last block, up to blockEnd
  Element* blockEnd = nullptr;
  std::vector<Block*> blocks;
  std::vector<Chunk> chunks;
  std::byte* unused = nullptr; // blocks of the last chunk, not touched yet
  std::size_t unusedBlocks = 0;
};

} // namespace Ostrum

#endif
