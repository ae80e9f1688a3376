// What a document consists of: its source, the table of elements over it, and the changes.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_DOCUMENT_DATA_H
#define TARVIK_HOST_OSTRUMXML_DATA_DOCUMENT_DATA_H

#include <cassert>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/ostrumxml/data/element_table.h"
#include "host/ostrumxml/data/name_table.h"

namespace Ostrum {

// The value under a key, or null.
template <class Map, class Key>
const typename Map::mapped_type* FindIn(const Map& map, const Key& key) {
  const auto entry = map.find(key);
  if (entry == map.end()) return nullptr;
  return &entry->second;
}

// Offsets into the source of a document.
struct SourceRange {
  std::uint32_t start, end;
};

// Where the removed children of an element were in the source. No two gaps adjoin each other.
class Gaps {
 public:
  // Joins the range with gaps in it and next to it. Throws std::bad_alloc.
  void Add(SourceRange range) {
    assert(range.start < range.end);
    const std::uint32_t start = Before(range.start);
    const std::uint32_t end = After(range.end);
    ends[start] = end; // first, because it can fail
    ends.erase(ends.upper_bound(start), ends.lower_bound(end));
  }

  // The offset, or the other end of a gap that ends or starts there.
  std::uint32_t Before(std::uint32_t offset) const noexcept {
    const auto next = ends.lower_bound(offset);
    if (next == ends.begin() || std::prev(next)->second != offset) return offset;
    return std::prev(next)->first;
  }
  std::uint32_t After(std::uint32_t offset) const noexcept {
    const std::uint32_t* const end = FindIn(ends, offset);
    if (end == nullptr) return offset;
    return *end;
  }

  // Pairs of start and end, in order.
  using Iterator = std::map<std::uint32_t, std::uint32_t>::const_iterator;
  Iterator begin() const noexcept { return ends.begin(); }
  Iterator end() const noexcept { return ends.end(); }

 private:
  std::map<std::uint32_t, std::uint32_t> ends; // by start
};

// What was changed on an element since the document was opened.
struct ElementChange {
  struct SetAttribute {
    std::optional<std::string> value; // nothing if it was removed
    std::uint64_t order = 0;          // of creation
    bool staysInTag = false; // otherwise it goes from its tag, and a value comes last there
  };
  using SetAttributes = std::map<std::string, SetAttribute, std::less<>>;

  // The attributes that come last in the tag, in the order in which they are written.
  std::map<std::uint64_t, const SetAttributes::value_type*> NewAttributes() const;

  SetAttributes attributes;
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
      : source(std::move(text)), fileSize(source.size()), elements(source.size() / 48) {}

  std::string_view Between(std::uint32_t from, std::uint32_t to) const noexcept {
    assert(from <= to && to <= source.size());
    return std::string_view(source).substr(from, to - from);
  }
  // The replacement text of an entity that the document declares; nothing if it declares none of
  // that name, or an external one.
  std::optional<std::string_view> EntityText(std::string_view name) const;
  bool IsInFile(std::uint32_t offset) const noexcept { return offset < fileSize; }
  // The offset of a part of the source.
  std::uint32_t OffsetOf(std::string_view part) const noexcept {
    assert(part.data() >= source.data() && part.size() <= source.size());
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

  // Empty if nothing was changed.
  const ElementChange& ChangeOf(std::uint32_t element) const;
  ElementChange& AddChange(std::uint32_t element); // or the one that there is
  // Null if the attribute was neither set nor removed.
  const ElementChange::SetAttribute* FindSetAttribute(std::uint32_t element,
                                                      std::string_view name) const {
    return FindIn(ChangeOf(element).attributes, name);
  }
  const AttributeDeclarations* FindDeclarations(std::string_view elementName) const {
    return FindIn(declarations, elementName);
  }
  // Inline, since every attribute read asks for it.
  const AttributeDeclaration* FindDeclaration(std::string_view elementName,
                                              std::string_view attributeName) const {
    const AttributeDeclarations* const declared = FindDeclarations(elementName);
    if (declared == nullptr) return nullptr;
    return FindIn(*declared, attributeName);
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
