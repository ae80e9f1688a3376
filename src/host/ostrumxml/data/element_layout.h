#ifndef TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_LAYOUT_H
#define TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_LAYOUT_H

#include <cstdint>
#include <string_view>

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// Where the parts of an element are in the source. A created element is not there: all its parts
// are empty.
class ElementLayout {
 public:
  ElementLayout(const DocumentData& data, std::uint32_t element) noexcept
      : data(data), source(data.source), record(data.elements[element]), element(element) {}

  // Whether it is a single tag, "<name/>".
  bool IsEmptyTag() const noexcept {
    return record.contentStart == record.contentEnd && record.contentStart != 0 &&
           source[record.contentStart - 2] == '/';
  }

  // From the end of the element's name to the end of its start tag.
  std::string_view Attributes() const noexcept {
    if (record.contentStart == 0) return ">";
    const auto nameSize = static_cast<std::uint32_t>(data.names.Text(record.name).size());
    return data.Between(record.tagStart + 1 + nameSize, record.contentStart);
  }

  // Everything between its tags.
  std::string_view Inside() const noexcept {
    return data.Between(record.contentStart, record.contentEnd);
  }

  // The offset after its last tag.
  std::uint32_t End() const noexcept;
  // The white space between the last other content and the end tag.
  std::string_view TrailingSpace() const noexcept;
  // The line break and indentation before the element; empty if it does not begin a line of its
  // parent's content, or if the indentation is implausibly long.
  std::string_view Lead(std::uint32_t parent) const noexcept;

  // Calls visit with each stretch of the element's content, excluding child elements.
  template <class Visit>
  void ForEachStretch(Visit visit) const {
    std::uint32_t from = record.contentStart;
    for (auto child = data.FirstChild(element); child != 0;
         child = data.elements[child].nextSibling) {
      const ElementLayout layout(data, child);
      if (!layout.IsInside(record)) continue; // is in an entity's text, or created
      visit(data.Between(from, layout.record.tagStart));
      from = layout.End();
    }
    visit(data.Between(from, record.contentEnd));
  }

 private:
  bool IsInside(const ElementRecord& parent) const noexcept {
    return record.contentStart != 0 && record.tagStart >= parent.contentStart &&
           record.tagStart < parent.contentEnd;
  }

  const DocumentData& data;
  std::string_view source;
  const ElementRecord& record;
  std::uint32_t element;
};

} // namespace Ostrum

#endif
