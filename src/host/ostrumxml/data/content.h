// What a document holds: its source, the index of elements over it, and what stands aside of the
// source.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_CONTENT_H
#define TARVIK_HOST_OSTRUMXML_DATA_CONTENT_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/ostrumxml/data/element_table.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/name_table.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/nodes/child_index.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {

// Bits of Element::flags. They spare the elements that have nothing aside, which is nearly all, the
// look-up.
namespace element_flags {
inline constexpr std::uint32_t hasParsedChildren = 1; // the first of them has the next number
inline constexpr std::uint32_t created = 2;           // stands nowhere in the source
inline constexpr std::uint32_t changed = 4;           // Content::changes has an entry
inline constexpr std::uint32_t childrenIndexed = 8;   // Content::childIndexes has an entry
} // namespace element_flags

// What was set on an element since the document was opened.
struct ElementChange {
  struct SetAttribute {
    std::string value;
    std::size_t order; // of making; new ones stand in the tag so
  };

  std::map<std::string, SetAttribute, std::less<>> attributes;
  std::optional<std::string> text;
  std::vector<Element*> created; // children made since, which stand behind those that were parsed
  std::string lead; // of a created element: the white space that puts it on a line of its own
};

// What the document type says of an attribute.
struct AttributeDeclaration {
  bool tokenized; // of another type than CDATA: outer blanks are dropped, inner ones folded
  std::optional<std::string> value; // the default
};
using AttributeDeclarations = std::map<std::string, AttributeDeclaration, std::less<>>;

struct Content {
  explicit Content(std::string text)
      : source(std::move(text)), fileSize(source.size()), elements(*this, source.size() / 2) {}

  std::string_view Between(std::uint32_t from, std::uint32_t to) const noexcept {
    return std::string_view(source).substr(from, to - from);
  }
  // The replacement text of an own entity; nothing where the document declares none of that name,
  // or an external one.
  std::optional<std::string_view> EntityText(std::string_view name) const;
  bool IsInFile(std::uint32_t offset) const noexcept { return offset < fileSize; }
  // Where a part of the source begins.
  std::uint32_t OffsetOf(std::string_view part) const noexcept {
    return static_cast<std::uint32_t>(part.data() - source.data());
  }

  bool IsAsciiOnly() const noexcept;
  void NoteSet(std::string_view text) noexcept {
    if (!IsAscii(text)) isAscii = false;
  }

  ElementChange& ChangeOf(Element& element); // made where there is none
  const ElementChange* FindChange(const Element& element) const;
  const AttributeDeclarations* FindDeclarations(std::string_view elementName) const {
    if (declarations.empty()) return nullptr; // in nearly all documents
    const auto entry = declarations.find(elementName);
    return entry == declarations.end() ? nullptr : &entry->second;
  }
  const AttributeDeclaration* FindDeclaration(std::string_view elementName,
                                              std::string_view attributeName) const;
  // Whether the attribute's declared type, if it has one, leaves the value as it is.
  bool CanHold(std::string_view elementName, std::string_view attributeName,
               std::string_view value) const;

  // The file's text, followed by the replacement texts of the document's own entities: elements of
  // either kind know their place by the same offsets. Not changed once the first element has been
  // read.
  std::string source;
  std::size_t fileSize;
  NameTable names;
  ElementTable elements;
  Element* root = &Element::null;
  std::unordered_map<const Element*, ElementChange> changes;
  std::map<std::string, AttributeDeclarations, std::less<>> declarations; // by element name
  struct EntityPlace {
    std::uint32_t start, length; // in source
  };
  std::map<std::string, EntityPlace, std::less<>> entities; // the general ones whose text is known
  bool hasElementsFromEntities = false;
  // Whether all that the source means is plain ASCII, once asked for; false once something else was
  // set.
  mutable std::optional<bool> isAscii;
  std::uint64_t attributesSet = 0; // calls that set an attribute
  // Made when they are first asked for, and no part of what the document says.
  std::unordered_map<const Element*, ChildIndex> childIndexes;
  std::unordered_map<const Element*, TagIndex> tagIndexes;
};

inline Element& ElementTable::Following(const Element& element) noexcept {
  const Block& block = BlockOf(element);
  const bool isLastOfBlock = &element + 1 == block.elements + Block::capacity;
  return isLastOfBlock ? block.content->elements.At(block.firstNumber + Block::capacity)
                       : const_cast<Element*>(&element)[1];
}

// Where the parts of an element stand in the source. A created element stands nowhere: all its
// parts are empty.
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
    const std::uint32_t start =
        element.tagStart + 1 + static_cast<std::uint32_t>(element.GetName().size());
    return content.Between(start, element.contentStart);
  }

  // All between its tags.
  std::string_view Inside() const noexcept {
    return content.Between(element.contentStart, element.contentEnd);
  }

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

  // The line break and indentation in front of the element, inside its parent; empty when it does
  // not begin a line, or where the indentation is longer than any hand would make it.
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
    return child.contentStart != 0 && child.tagStart >= parent.contentStart &&
           child.tagStart < parent.contentEnd;
  }

  const Content& content;
  std::string_view source;
  const Element& element;
};

} // namespace Ostrum

#endif
