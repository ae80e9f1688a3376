// What a document consists of: its source, the table of elements over it, and the changes.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_DOCUMENT_DATA_H
#define TARVIK_HOST_OSTRUMXML_DATA_DOCUMENT_DATA_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/ostrumxml/data/element_table.h"
#include "host/ostrumxml/data/gaps.h"
#include "host/ostrumxml/data/name_table.h"

namespace Ostrum {

// What was changed on an element since the document was opened.
struct ElementChange {
  struct SetAttribute {
    std::string value;
    std::uint64_t order; // of creation; new attributes are written in this order
  };

  std::map<std::string, SetAttribute, std::less<>> attributes;
  std::set<std::string, std::less<>> removedAttributes; // of its tag
  std::optional<std::string> text;
  std::vector<std::uint32_t> created; // new children, which come after those that were parsed
  Gaps gaps;
  std::string lead; // of a created element: the white space that puts it on a line of its own
};

// What the document type says of an attribute.
struct AttributeDeclaration {
  bool tokenized; // not of type CDATA: outer white space is dropped, inner white space folded
  std::optional<std::string> value; // the default
};
using AttributeDeclarations = std::map<std::string, AttributeDeclaration, std::less<>>;

struct DocumentData {
  explicit DocumentData(std::string text)
      : source(std::move(text)), fileSize(source.size()), elements(source.size() / 2) {}

  std::string_view Between(std::uint32_t from, std::uint32_t to) const noexcept {
    return std::string_view(source).substr(from, to - from);
  }
  // The replacement text of an entity that the document declares; nothing if it declares none of
  // that name, or an external one.
  std::optional<std::string_view> EntityText(std::string_view name) const;
  bool IsInFile(std::uint32_t offset) const noexcept { return offset < fileSize; }
  // The offset of a part of the source.
  std::uint32_t OffsetOf(std::string_view part) const noexcept {
    return static_cast<std::uint32_t>(part.data() - source.data());
  }

  // Lives as long as the document.
  std::string_view NameOf(std::uint32_t element) const noexcept {
    return names.Text(elements[element].name);
  }
  // 0 if there is none. Both pass removed elements by.
  std::uint32_t FirstChild(std::uint32_t element) const noexcept;
  std::uint32_t NextSibling(std::uint32_t element) const noexcept {
    std::uint32_t next = elements[element].nextSibling;
    while (next != 0 && IsRemoved(next)) next = elements[next].nextSibling;
    return next;
  }
  bool IsRemoved(std::uint32_t element) const noexcept {
    return (elements[element].flags & element_flags::removed) != 0;
  }

  ElementChange& ChangeOf(std::uint32_t element); // added if there is none
  const ElementChange* FindChange(std::uint32_t element) const;
  const AttributeDeclarations* FindDeclarations(std::string_view elementName) const {
    if (declarations.empty()) return nullptr; // in nearly all documents
    const auto entry = declarations.find(elementName);
    if (entry == declarations.end()) return nullptr;
    return &entry->second;
  }
  // Inline, since every attribute read asks for it.
  const AttributeDeclaration* FindDeclaration(std::string_view elementName,
                                              std::string_view attributeName) const {
    const AttributeDeclarations* const declared = FindDeclarations(elementName);
    if (declared == nullptr) return nullptr;
    const auto entry = declared->find(attributeName);
    if (entry == declared->end()) return nullptr;
    return &entry->second;
  }
  // Whether the attribute's declared type, if it has one, keeps the value unchanged.
  bool CanHold(std::string_view elementName, std::string_view attributeName,
               std::string_view value) const;

  // The file's text, followed by the replacement texts of the document's own entities, so that
  // elements in both have offsets of the same kind. Not changed once the first element was read.
  std::string source;
  std::size_t fileSize;
  NameTable names;
  ElementTable elements;
  std::uint32_t root = 0;
  std::unordered_map<std::uint32_t, ElementChange> changes;               // by element
  std::map<std::string, AttributeDeclarations, std::less<>> declarations; // by element name
  struct EntityPlace {
    std::uint32_t start, length; // in source
  };
  std::map<std::string, EntityPlace, std::less<>> entities; // general ones whose text is known
  std::uint64_t attributesSet = 0; // calls that set or removed an attribute
};

} // namespace Ostrum

#endif
