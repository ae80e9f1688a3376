#ifndef TARVIK_HOST_OSTRUMXML_ELEMENT_LAYOUT_H
#define TARVIK_HOST_OSTRUMXML_ELEMENT_LAYOUT_H

#include <cstdint>
#include <string_view>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/markup.h"

namespace Ostrum {

// Where the parts of an element stand in the source. A created element stands nowhere: all its parts are empty.
class ElementLayout {
 public:
  ElementLayout(const Content& content, const Element& element) noexcept : source(content.source), element(element) {}

  // Whether it stands as one tag, "<name/>".
  bool IsEmptyTag() const noexcept {
    return element.contentStart == element.contentEnd && element.contentStart != 0 &&
           source[element.contentStart - 2] == '/';
  }

  // From behind the element's name to behind the ">" of its start tag.
  std::string_view Attributes() const noexcept {
    if (element.contentStart == 0) return ">";
    const std::uint32_t start = element.tagStart + 1 + static_cast<std::uint32_t>(element.name->Utf8().size());
    return Between(start, element.contentStart);
  }

  // All between its tags.
  std::string_view Inside() const noexcept { return Between(element.contentStart, element.contentEnd); }

  // Behind its last tag.
  std::uint32_t End() const noexcept {
    if (IsEmptyTag()) return element.contentEnd;
    return static_cast<std::uint32_t>(source.find('>', element.contentEnd)) + 1;
  }

  // White space between the last other content and the end tag.
  std::string_view TrailingBlanks() const noexcept {
    std::uint32_t start = element.contentEnd;
    while (start > element.contentStart && IsBlank(source[start - 1])) --start;
    return Between(start, element.contentEnd);
  }

  // The line break and indentation in front of the element, inside its parent; empty when it does not begin a line.
  std::string_view Lead(const Element& parent) const noexcept {
    std::uint32_t start = element.tagStart;
    while (start > parent.contentStart && (source[start - 1] == ' ' || source[start - 1] == '\t')) --start;
    if (start == parent.contentStart || !IsBlank(source[start - 1])) return {};
    --start;
    if (source[start] == '\n' && start > parent.contentStart && source[start - 1] == '\r') --start;
    return Between(start, element.tagStart);
  }

  // Gives each piece of its own content, what its child elements hold left out.
  template <class Visit>
  void ForEachPiece(std::uint32_t parsedChildren, Visit visit) const {
    std::uint32_t from = element.contentStart;
    for (std::uint32_t i = 0; i < parsedChildren; ++i) {
      const Element& child = *element.children[i];
      VisitStretch(Between(from, child.tagStart), visit);
      from = ElementLayout(source, child).End();
    }
    VisitStretch(Between(from, element.contentEnd), visit);
  }

  // Where a view into the source begins.
  std::uint32_t OffsetOf(std::string_view part) const noexcept {
    return static_cast<std::uint32_t>(part.data() - source.data());
  }

 private:
  ElementLayout(std::string_view source, const Element& element) noexcept : source(source), element(element) {}

  std::string_view Between(std::uint32_t from, std::uint32_t to) const noexcept {
    return source.substr(from, to - from);
  }

  template <class Visit>
  static void VisitStretch(std::string_view stretch, Visit& visit) {
    PieceScanner pieces(stretch);
    Piece piece{};
    while (pieces.Next(piece)) visit(piece);
  }

  std::string_view source;
  const Element& element;
};

} // namespace Ostrum

#endif
