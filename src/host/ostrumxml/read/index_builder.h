#ifndef TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H
#define TARVIK_HOST_OSTRUMXML_READ_INDEX_BUILDER_H

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

} // namespace Ostrum

#endif
