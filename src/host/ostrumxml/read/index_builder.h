#ifndef TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H
#define TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H

#include <cassert>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// Where a start tag or an empty-element tag stands: offsets into the source, in bytes.
struct TagPlace {
  std::uint32_t start; // of the "<"
  std::uint32_t end;   // after the ">"
};

// Builds the index of a document's elements, from the tags that a reader reports in document order.
// Inline, since the plain reader spends little more on an element than its entry here.
class IndexBuilder {
 public:
  // data: must outlive the builder.
  explicit IndexBuilder(DocumentData& data) noexcept : data(data) {}

  // Adds an element as the last child of the innermost open element, or as the root, and opens it.
  // name: its number. Throws std::bad_alloc.
  void StartElement(std::uint32_t name, TagPlace tag);
  // Closes the innermost open element. contentEnd: the offset of the end tag, or for an
  // empty-element tag of the tag's end. REQUIRES: IsInside().
  void EndElement(std::uint32_t contentEnd) noexcept;

  bool HasRoot() const noexcept { return data.root != 0; }
  // Whether an element is open.
  bool IsInside() const noexcept { return !open.empty(); }
  // The start tag of the innermost open element. REQUIRES: IsInside().
  TagPlace InnermostTag() const noexcept;
  // Its name. REQUIRES: IsInside().
  std::string_view InnermostName() const noexcept {
    assert(IsInside());
    return open.back().name;
  }

 private:
  struct OpenElement {
    ElementRecord* record;
    ElementRecord* lastChild; // null if there is none yet
    std::string_view name;
  };

  DocumentData& data;
  std::vector<OpenElement> open; // the innermost last
};

inline void IndexBuilder::StartElement(std::uint32_t name, TagPlace tag) {
  const std::string_view text = data.names.Text(name);
  assert(tag.start + text.size() < tag.end && tag.end <= data.source.size());
  const std::uint32_t element = data.elements.Add();
  ElementRecord& record = data.elements[element];
  record.tagStart = tag.start;
  record.contentStart = tag.end;
  record.name = name;
  if (open.empty()) {
    assert(!HasRoot());
    data.root = element;
  } else {
    auto& [parent, lastChild, parentName] = open.back();
    if (lastChild == nullptr) {
      parent->flags |= element_flags::hasParsedChildren;
    } else {
      lastChild->nextSibling = element;
    }
    lastChild = &record;
  }
  open.push_back({&record, nullptr, text});
}

inline void IndexBuilder::EndElement(std::uint32_t contentEnd) noexcept {
  assert(IsInside() && contentEnd >= InnermostTag().end);
  open.back().record->contentEnd = contentEnd;
  open.pop_back();
}

inline TagPlace IndexBuilder::InnermostTag() const noexcept {
  assert(IsInside());
  const ElementRecord& record = *open.back().record;
  return {record.tagStart, record.contentStart};
}

} // namespace Ostrum

#endif
