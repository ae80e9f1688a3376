#ifndef TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_LAYOUT_H
#define TARVIK_HOST_OSTRUMXML_DATA_ELEMENT_LAYOUT_H

#include <cassert>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// Where the parts of an element are in the source. A created element is not there: all its parts
// are empty.
class ElementLayout {
 public:
  ElementLayout(const DocumentData& data, std::uint32_t element) noexcept
      : data(data), record(data.elements[element]), element(element) {}

  // Whether it is a single tag, "<name/>". REQUIRES: the element is in the source.
  bool IsEmptyTag() const noexcept {
    assert(record.contentStart != 0);
    return data.source[record.contentStart - 2] == '/';
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

  // What follows takes account of removed children, as if the document had been read again.

  struct Space {
    std::uint32_t start;
    std::string text;
  };
  // The white space between new children and the end tag, and where it begins: none if the first
  // one has no lead. REQUIRES: there is one.
  Space SpaceAfterNewChildren() const;
  // The line break and indentation before a place in the content; empty if there is no line break,
  // or if the indentation is implausibly long. Empty for another place.
  std::string LeadAt(std::uint32_t offset) const;
  // What goes when a child is removed: its lines, if it stands alone on them, else itself, with the
  // carriage returns before it if a line feed after it would join them.
  SourceRange RemovalOf(std::uint32_t child) const noexcept;

  // False for a created element, and for one from an entity's text.
  bool IsInside(const ElementRecord& parent) const noexcept {
    return record.tagStart >= parent.contentStart && record.tagStart < parent.contentEnd;
  }

 private:
  Space SpaceBefore(std::uint32_t offset, std::size_t limit = std::string::npos) const;

  const DocumentData& data;
  const ElementRecord& record;
  std::uint32_t element;
};

// Walks the parts of an element's content outside child elements, there or removed; never none.
class StretchScanner {
 public:
  StretchScanner(const DocumentData& data, std::uint32_t element);
  // False at the end.
  bool Next(std::string_view& stretch);

 private:
  const DocumentData& data;
  const ElementRecord& content;
  const Gaps& gaps;
  Gaps::Iterator gap;
  std::uint32_t child; // 0 after the last
  std::uint32_t from;
  bool isAtEnd = false;
};

} // namespace Ostrum

#endif
