// The nodes of a document: elements, which the document holds, and attributes, which are looked up
// in an element's tag when they are asked for. All text is UTF-8.
#ifndef TARVIK_HOST_OSTRUMXML_NODES_NODE_H
#define TARVIK_HOST_OSTRUMXML_NODES_NODE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrum {

class ChildIndex;
class Element;
struct Content;

// The text of an element, or the value of an attribute, bound to where it stands.
class Value {
 public:
  // Replaces the text. Throws std::invalid_argument, nothing being changed, where XML can't carry
  // the text, where the attribute's declared type would fold its blanks, where there is no node, or
  // where it stands in an entity's text.
  void Set(std::string_view text);

 private:
  friend class Attribute;
  friend class Element;
  Value(Element* owner, std::string_view attribute) : owner(owner), attribute(attribute) {}

  Element* owner;             // null for the value of a null node
  std::string_view attribute; // empty for the element's own text
};

// A lookup that misses does not throw. It gives the null attribute or the null element, which has
// no name and no value.
class Attribute {
 public:
  bool IsNull() const noexcept { return owner == nullptr; }
  std::string_view GetName() const noexcept { return name; }

  // The value as XML defines it: a part of the source where no decoding is needed, else assembled
  // in scratch; at least its first `limit` bytes. Valid until scratch or the document is changed.
  std::string_view GetValue(std::string& scratch, std::size_t limit = std::string::npos) const;
  std::string GetValue() const {
    std::string scratch;
    return std::string(GetValue(scratch));
  }
  operator Value() const noexcept { return {owner, name}; }

 private:
  friend class Element;
  Attribute() = default;
  Attribute(Element* owner, std::string_view name, std::string_view raw)
      : owner(owner), name(name), raw(raw) {}

  Element* owner = nullptr;
  std::string_view name;
  std::string_view
      raw; // the value as it stands in the source; of null data when it does not stand there
};

// A position among the child elements of an element, in document order.
class IteratorRef {
 public:
  explicit IteratorRef(Element* position) noexcept : position(position) {}
  Element& operator*() const noexcept { return *position; }
  Element* operator->() const noexcept { return position; }
  IteratorRef& operator++() noexcept;
  bool operator==(const IteratorRef& other) const noexcept { return position == other.position; }

 private:
  Element* position; // null behind the last child
};

class NodeContainer {
 public:
  IteratorRef Begin() const noexcept;
  IteratorRef End() const noexcept { return IteratorRef(nullptr); }

 protected:
  NodeContainer() = default;
  ~NodeContainer() = default;
};

enum class NameMatch { Exact, Prefix };

// An element of a document, at a fixed address for the document's life. It knows where its tags
// stand in the source text; all else is read there when asked for. What was changed is kept aside
// by the document.
class Element final : public NodeContainer {
 public:
  // The null element, shared by all documents.
  static Element null;

  bool IsNull() const noexcept { return name == 0; }
  // Lives as long as the document.
  std::string_view GetName() const noexcept;
  // The element's own text, its character data and CDATA sections joined in document order; else as
  // Attribute::GetValue.
  std::string_view GetValue(std::string& scratch, std::size_t limit = std::string::npos) const;
  std::string GetValue() const {
    std::string scratch;
    return std::string(GetValue(scratch));
  }

  Attribute GetAttribute(std::string_view attributeName) const;
  // A new attribute, which the element has once its value is set. The null attribute where there is
  // one of that name, where the name is no XML name, or where the element stands in an entity's
  // text. The name must outlive what is returned.
  Attribute CreateAttribute(std::string_view attributeName);
  // Makes a new element, without content, as the last child. The null element, and no change, where
  // the name is no XML name or this element stands in an entity's text.
  Element& AddElementInto(std::string_view elementName);
  operator Value() noexcept { return {IsNull() ? nullptr : this, {}}; }

  // The n-th child, from 1, whose name is or begins with the text.
  Element& NthChild(NameMatch match, std::string_view text, std::uint32_t n) const;
  // The n-th child, from 1, that has that name and the attribute.
  Element& NthChildWithAttribute(std::string_view childName, std::string_view attributeName,
                                 std::uint32_t n) const;
  // The first child whose name begins with the text and that has the attribute, with a value that
  // begins with the other text.
  Element& FirstChildWithValue(std::string_view nameBegin, std::string_view attributeName,
                               std::string_view valueBegin) const;
  // Whether every child's name is plain ASCII.
  bool ChildNamesAreAscii() const;
  // Whether the values of that attribute of all children whose names begin with the text are. May
  // be false if there are few children.
  bool ChildValuesAreAscii(std::string_view nameBegin, std::string_view attributeName) const;
  // The names that the children have, each once. Empty if there are few children or nearly each has
  // a name of its own.
  std::vector<std::string_view> ChildNames() const;
  // Whether all names and values of the element's document are. False of the null element.
  bool DocumentIsAscii() const noexcept;

  // Whether the element was made since the document was parsed.
  bool IsCreated() const noexcept;
  // False for the null element and for one whose tags stand in an entity's text, which has no place
  // of its own in the file.
  bool CanBeChanged() const noexcept;
  // Whether the element's own text can be set. Also false if it refers to an entity that contains
  // elements.
  bool TextCanBeReplaced() const;

 private:
  friend class ElementLayout;
  friend class ElementTable;
  friend class Generator;
  friend class IndexBuilder;
  friend class IteratorRef;
  friend class NodeContainer;
  friend class Attribute;
  friend class ChildIndex;
  friend class Value;
  friend struct Content;

  constexpr Element() = default;

  std::string_view AttributeValue(std::string_view attributeName, std::string_view raw,
                                  std::string& scratch, std::size_t limit) const;
  void SetText(std::string_view text);
  void SetAttribute(std::string_view attributeName, std::string_view value);
  std::string LeadOfNextChild(const Content& content) const;
  ChildIndex& Index() const; // made where there is none
  void KeepIndexed(const Element& newChild) noexcept;
  bool HasManyChildren() const noexcept;
  template <class Matches, class SearchIndex>
  Element& SearchChildren(std::uint32_t n, Matches matches, SearchIndex searchIndex) const;

  std::uint32_t name = 0; // its number in the document's name table; 0 for the null element alone
  // Offsets into the document's source, in bytes; all 0 for an element that was created.
  std::uint32_t tagStart = 0;     // of the "<"
  std::uint32_t contentStart = 0; // behind the ">" of the start tag, or of an empty-element tag
  std::uint32_t contentEnd =
      0; // of the end tag's "<"; equals contentStart for an empty-element tag
  std::uint32_t nextSibling = 0; // its number in the document's element table; 0 for a last child
  std::uint32_t flags = 0;       // of element_flags
};

} // namespace Ostrum

#endif
