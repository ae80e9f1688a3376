// The nodes of a document: elements and their attributes, as views of its data. All text is UTF-8.
#ifndef TARVIK_HOST_OSTRUMXML_NODES_NODE_H
#define TARVIK_HOST_OSTRUMXML_NODES_NODE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/nodes/child_query.h"

namespace Ostrum {

class Attribute;
class ChildIndex;
class IteratorRef;
class Value;
struct DocumentData;
struct IndexedDocument;

// A handle of an element: its document and its number there. Copies refer to the same element,
// which lives as long as its document. A lookup that misses does not throw: it gives the null
// element, which has no name, no value and no children.
class Element {
 public:
  Element() = default; // the null element
  // REQUIRES: the document has an element of that number.
  Element(IndexedDocument& document, std::uint32_t number) noexcept
      : document(&document), number(number) {}
  // Siblings are in document order.
  auto operator<=>(const Element&) const = default; // NOLINT(modernize-use-nullptr): misread

  bool IsNull() const noexcept { return number == 0; }
  // Lives as long as the document.
  std::string_view GetName() const noexcept;
  // The element's own text: its character data and CDATA sections, joined in document order. As
  // Attribute::GetValue otherwise.
  std::string_view GetValue(std::string& scratch, std::size_t limit = std::string::npos) const;
  std::string GetValue() const {
    std::string scratch;
    return std::string(GetValue(scratch));
  }

  // Whether the filter accepts the whole text. For a long one this is remembered until the document
  // changes, so that reading its beginning again and again costs no more than that. Throws
  // std::bad_alloc.
  bool IsValueAccepted(const TextFilter& filter) const;

  // The child elements, in document order.
  IteratorRef Begin() const noexcept;
  IteratorRef End() const noexcept;
  Element FirstChild() const noexcept;
  Element NextSibling() const noexcept;

  Attribute GetAttribute(std::string_view attributeName) const;
  // A new attribute, which the element has once its value is set. The null attribute if there is
  // one of that name, if the name is not an XML name, or if the element is in an entity's text. The
  // name must outlive the result.
  Attribute CreateAttribute(std::string_view attributeName);
  // Adds a new element without content as the last child. The null element, and no change, if the
  // name is not an XML name or this element is in an entity's text. Throws std::bad_alloc.
  Element AddElementInto(std::string_view elementName);
  operator Value() const noexcept;

  // Removes a child with all that it contains; nothing if that was done before. A child alone on
  // its lines takes them with it. REQUIRES: it is or was a child of this element. Throws
  // std::invalid_argument, and changes nothing, if it is in an entity's text, and std::bad_alloc.
  void RemoveChild(Element child);
  // Removes an attribute with the white space before it. Throws std::invalid_argument, and changes
  // nothing, if there is none, if only the document type declares it, or if the element is in an
  // entity's text, and std::bad_alloc.
  void RemoveAttribute(std::string_view attributeName);

  // The names of all attributes: those in the tag, those that were added, and those that only the
  // document type declares. Valid until the document is changed.
  std::vector<std::string_view> AttributeNames() const;
  std::uint32_t CountChildren(std::string_view name) const;

  // The child that the query asks for, or null. Scans the first children, then uses the index.
  // Throws std::bad_alloc.
  Element FindChild(const ChildQuery& query) const;
  // The n-th child, from 1, whose name is or begins with the text.
  Element NthChild(NameMatch match, std::string_view name, std::uint32_t n) const {
    return FindChild({.match = match, .name = name, .n = n});
  }

  // Whether the element was created since the document was parsed.
  bool IsCreated() const noexcept;
  // False for the null element and for one whose tags are in an entity's text, which has no place
  // of its own in the file.
  bool CanBeChanged() const noexcept;
  // Whether the element's own text can be set. Also false if it refers to an entity that contains
  // elements or whose text is not known.
  bool TextCanBeReplaced() const;

 private:
  friend class Attribute;
  friend class Value;

  DocumentData& Data() const noexcept; // REQUIRES: not null
  bool IsKnownAccepted(std::string_view attributeName, const TextFilter& filter) const;
  void RememberAccepted(std::string_view attributeName, std::size_t size,
                        const TextFilter& filter) const;
  Element Other(std::uint32_t element) const noexcept;
  std::string_view AttributeValue(std::string_view attributeName, std::string_view raw,
                                  std::string& scratch, std::size_t limit) const;
  void SetText(std::string_view text);
  void SetAttribute(std::string_view attributeName, std::string_view value);
  std::uint32_t LastChild() const noexcept; // 0 if there is none
  std::string LeadOfNextChild() const;
  bool IsIndexed() const noexcept;
  ChildIndex& Index() const; // built if there is none
  void AddToIndex(std::uint32_t newChild) noexcept;
  void DropIndex() noexcept;
  std::optional<Element> FindByIndex(const ChildQuery& query) const;
  bool Matches(const ChildQuery& query, std::string& scratch) const;

  IndexedDocument* document = nullptr;
  std::uint32_t number = 0;
};

// The text of an element, or the value of an attribute, bound to its place.
class Value {
 public:
  // Replaces the text. Throws std::invalid_argument, and changes nothing, if XML cannot hold the
  // text, if the attribute's declared type would fold its white space, if there is no node, or if
  // it is in an entity's text.
  void Set(std::string_view text);

 private:
  friend class Attribute;
  friend class Element;
  Value(Element owner, std::string_view attribute) noexcept : owner(owner), attribute(attribute) {}

  Element owner;              // null for the value of a null node
  std::string_view attribute; // empty for the element's own text
};

// An attribute of an element. The null attribute has no name and no value.
class Attribute {
 public:
  bool IsNull() const noexcept { return owner.IsNull(); }
  std::string_view GetName() const noexcept { return name; }

  // The value as XML defines it: a part of the source if it needs no decoding, else assembled in
  // scratch; at least its first `limit` bytes. Valid until scratch or the document is changed.
  std::string_view GetValue(std::string& scratch, std::size_t limit = std::string::npos) const;
  std::string GetValue() const {
    std::string scratch;
    return std::string(GetValue(scratch));
  }
  // As Element::IsValueAccepted.
  bool IsValueAccepted(const TextFilter& filter) const;
  operator Value() const noexcept { return {owner, name}; }

 private:
  friend class Element;
  Attribute() = default;
  Attribute(Element owner, std::string_view name, std::string_view raw) noexcept
      : owner(owner), name(name), raw(raw) {}

  Element owner;
  std::string_view name;
  std::string_view raw; // the value in the source; of null data if it is not there
};

// A position among the child elements of an element.
class IteratorRef {
 public:
  explicit IteratorRef(Element position) noexcept : position(position) {}
  const Element& operator*() const noexcept { return position; }
  const Element* operator->() const noexcept { return &position; }
  IteratorRef& operator++() noexcept {
    position = position.NextSibling();
    return *this;
  }
  bool operator==(const IteratorRef&) const = default;

 private:
  Element position; // null after the last child
};

inline IteratorRef Element::Begin() const noexcept { return IteratorRef(FirstChild()); }
inline IteratorRef Element::End() const noexcept { return IteratorRef(Element()); }
inline Element::operator Value() const noexcept { return {*this, {}}; }

} // namespace Ostrum

#endif
