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
  // name: in the source. Throws std::bad_alloc.
  void StartElement(std::string_view name, TagPlace tag);
  // Closes the innermost open element. contentEnd: the offset of the end tag, or for an
  // empty-element tag of the tag's end. REQUIRES: IsInside().
  void EndElement(std::uint32_t contentEnd) noexcept;

  bool HasRoot() const noexcept { return data.root != 0; }
  // Whether an element is open.
  bool IsInside() const noexcept { return !open.empty(); }
  // The start tag of the innermost open element. REQUIRES: IsInside().
  TagPlace InnermostTag() const noexcept;
  // Its name. REQUIRES: IsInside().
  std::string_view InnermostName() const noexcept { return data.NameOf(open.back().element); }

 private:
  struct OpenElement {
    std::uint32_t element;
    std::uint32_t lastChild; // 0 if there is none yet
  };

  void Link(std::uint32_t element);

  DocumentData& data;
  std::vector<OpenElement> open; // the innermost last
};

inline void IndexBuilder::StartElement(std::string_view name, TagPlace tag) {
  assert(tag.start + name.size() < tag.end && tag.end <= data.source.size());
  const std::uint32_t element = data.elements.Add();
  ElementRecord& record = data.elements[element];
  record.tagStart = tag.start;
  record.contentStart = tag.end;
  record.name = data.names.Intern(name);
  Link(element);
}

inline void IndexBuilder::Link(std::uint32_t element) {
  if (open.empty()) {
    assert(!HasRoot());
    data.root = element;
  } else {
    auto& [parent, lastChild] = open.back();
    if (lastChild == 0) {
      data.elements[parent].flags |= element_flags::hasParsedChildren;
    } else {
      data.elements[lastChild].nextSibling = element;
    }
    lastChild = element;
  }
  open.push_back({element, 0});
}

inline void IndexBuilder::EndElement(std::uint32_t contentEnd) noexcept {
  assert(IsInside() && contentEnd >= InnermostTag().end);
  data.elements[open.back().element].contentEnd = contentEnd;
  open.pop_back();
}

inline TagPlace IndexBuilder::InnermostTag() const noexcept {
  assert(IsInside());
  const ElementRecord& record = data.elements[open.back().element];
  return {record.tagStart, record.contentStart};
}

} // namespace Ostrum

#endif
