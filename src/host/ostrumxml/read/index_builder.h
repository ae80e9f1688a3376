#ifndef TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H
#define TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H

#include <cassert>
#include <cstdint>
#include <utility>

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// Builds the index of a document's elements, from the tags that a reader reports in document order.
// Needs no memory beyond the index: while an element is open, its record holds its parent as
// nextSibling and its last child as contentEnd. Inline, since the plain reader spends little more
// on an element than its entry here.
class IndexBuilder {
 public:
  // data: must outlive the builder.
  explicit IndexBuilder(DocumentData& data) noexcept : data(data) {}

  // Adds an element as the last child of the innermost open element, or as the root, and opens it.
  // name: its number. tagStart, tagEnd: of the "<", and after the ">" of its start tag or
  // empty-element tag. Throws std::bad_alloc.
  void StartElement(std::uint32_t name, std::uint32_t tagStart, std::uint32_t tagEnd) {
    assert(tagStart + data.names.Text(name).size() < tagEnd && tagEnd <= data.source.size());
    const std::uint32_t element = data.elements.Add();
    ElementRecord* const parent = innermost;
    innermost = &data.elements[element];
    *innermost = {name, tagStart, tagEnd, 0, number, 0};
    number = element;
    if (parent == nullptr) {
      assert(data.root == 0);
      data.root = element;
      return;
    }
    if (parent->contentEnd == 0) {
      parent->flags |= element_flags::hasParsedChildren;
    } else {
      data.elements[parent->contentEnd].nextSibling = element;
    }
    parent->contentEnd = element;
  }

  // Closes the innermost open element. contentEnd: the offset of the end tag, or for an
  // empty-element tag of the tag's end. REQUIRES: IsInside().
  void EndElement(std::uint32_t contentEnd) noexcept {
    assert(contentEnd >= innermost->contentStart);
    innermost->contentEnd = contentEnd;
    number = std::exchange(innermost->nextSibling, 0);
    innermost = number == 0 ? nullptr : &data.elements[number];
  }

  // Whether an element is open.
  bool IsInside() const noexcept { return innermost != nullptr; }
  // The innermost open element. REQUIRES: IsInside().
  const ElementRecord& Innermost() const noexcept {
    assert(IsInside());
    return *innermost;
  }

 private:
  DocumentData& data;
  ElementRecord* innermost = nullptr;
  std::uint32_t number = 0; // of the innermost
};

} // namespace Ostrum

#endif
