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
  ElementLayout(const Content& content, const Element& element) noexcept
      : content(content), source(content.source), element(element) {}

  // Whether it stands as one tag, "<name/>".
  bool IsEmptyTag() const noexcept {
    return element.contentStart == element.contentEnd && element.contentStart != 0 &&
           source[element.contentStart - 2] == '/';
  }

  // From behind the element's name to behind the ">" of its start tag.
  std::string_view Attributes() const noexcept {
    if (element.contentStart == 0) return ">";
    const std::uint32_t start = element.tagStart + 1 + static_cast<std::uint32_t>(element.GetName().size());
    return content.Between(start, element.contentStart);
  }

  // All between its tags.
  std::string_view Inside() const noexcept { return content.Between(element.contentStart, element.contentEnd); }

  // Behind its last tag.
  std::uint32_t End() const noexcept {
    if (IsEmptyTag()) return element.contentEnd;
    return static_cast<std::uint32_t>(source.find('>', element.contentEnd)) + 1;
  }

  // White space between the last other content and the end tag.
  std::string_view TrailingBlanks() const noexcept {
    std::uint32_t start = element.contentEnd;
    while (start > element.contentStart && IsBlank(source[start - 1])) --start;
    return content.Between(start, element.contentEnd);
  }

  // The line break and indentation in front of the element, inside its parent; empty when it does not begin a line, or where
  // the indentation is longer than any hand would make it.
  std::string_view Lead(const Element& parent) const noexcept {
    constexpr std::uint32_t longest = 256;
    if (!Holds(parent, element)) return {};
    std::uint32_t start = element.tagStart;
    while (start > parent.contentStart && (source[start - 1] == ' ' || source[start - 1] == '\t')) {
      if (element.tagStart - --start > longest) return {};
    }
    if (start == parent.contentStart || !IsBlank(source[start - 1])) return {};
    --start;
    if (source[start] == '\n' && start > parent.contentStart && source[start - 1] == '\r') --start;
    return content.Between(start, element.tagStart);
  }

  // Gives each stretch of its own content, what its child elements hold left out.
  template <class Visit>
  void ForEachStretch(Visit visit) const {
    std::uint32_t from = element.contentStart;
    for (auto child = element.Begin(); !(child == element.End()); ++child) {
      if (!Holds(element, *child)) continue; // stands in an entity's text, or nowhere
      visit(content.Between(from, child->tagStart));
      from = ElementLayout(content, *child).End();
    }
    visit(content.Between(from, element.contentEnd));
  }

 private:
  static bool Holds(const Element& parent, const Element& child) noexcept {
    return child.contentStart != 0 && child.tagStart >= parent.contentStart && child.tagStart < parent.contentEnd;
  }

  const Content& content;
  std::string_view source;
  const Element& element;
};

} // namespace Ostrum

#endif
