// The nodes of a document: elements, which the document holds, and attributes, which are looked up in an element's tag when
// they are asked for.
#ifndef TARVIK_HOST_OSTRUMXML_NODE_H
#define TARVIK_HOST_OSTRUMXML_NODE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Ostrum {

class Element;
class Name;
struct Content;
struct ElementChange;

class Node {
 public:
  // True for the node that a lookup gives on a miss. Such a node has an empty name and an empty value and can't be set.
  virtual bool IsNull() const noexcept = 0;
  // Nodes of one document with equal names give the same object, so that its address tells whether two names are equal. It
  // lives as long as the document.
  virtual const std::wstring& GetName() const = 0;
  // An attribute's value, or an element's own text: its character data and CDATA sections, joined in document order.
  virtual std::wstring GetValue() const = 0;
  // The value where it is plain ASCII that stands in the source as it is meant, which spares making wide text of it; nothing
  // where only GetValue can tell. Valid until the document is changed.
  virtual std::optional<std::string_view> AsciiValue() const = 0;

 protected:
  ~Node() = default;
};

// The text of an element, or the value of an attribute, bound to where it stands.
class Value {
 public:
  // Replaces the text. Text that XML can't carry throws std::invalid_argument and changes nothing.
  void Set(const wchar_t* text);

 private:
  friend class Element;
  friend class Attribute;
  Value(Element* owner, const Name* attribute, std::string_view raw) : owner(owner), attribute(attribute), raw(raw) {}

  Element* owner;        // null for the value of a null node
  const Name* attribute; // null for the element's own text
  std::string_view raw;  // as in Attribute
};

class Attribute final : public Node {
 public:
  bool IsNull() const noexcept override { return owner == nullptr; }
  const std::wstring& GetName() const override;
  std::wstring GetValue() const override;
  std::optional<std::string_view> AsciiValue() const override;
  operator Value() const;

 private:
  friend class Element;
  Attribute() = default;
  Attribute(Element* owner, std::string_view name, std::string_view raw) : owner(owner), name(name), raw(raw) {}

  Element* owner = nullptr;
  std::string_view name; // lives as long as the document
  std::string_view raw;  // the value as it stands in the source; of null data when it does not stand there
};

// A position among the child elements of an element, in document order. Invalid once a child has been added.
class IteratorRef {
 public:
  explicit IteratorRef(Element* const* position) : position(position) {}
  Element& operator*() const noexcept { return **position; }
  Element* operator->() const noexcept { return *position; }
  IteratorRef& operator++() noexcept {
    ++position;
    return *this;
  }
  bool operator==(const IteratorRef& other) const noexcept { return position == other.position; }

  // Neighbours of equal name stand together as a run. How many there are from here to the run's end.
  // REQUIRES: this is the first of its run: where the walk began, or where Skip of a whole run led.
  std::uint32_t RunLength() const noexcept;
  IteratorRef& Skip(std::uint32_t count) noexcept {
    position += count;
    return *this;
  }

 private:
  Element* const* position;
};

class NodeContainer {
 public:
  IteratorRef Begin() const noexcept { return IteratorRef(children); }
  IteratorRef End() const noexcept { return IteratorRef(children + childCount); }

 protected:
  NodeContainer() = default;
  ~NodeContainer() = default;

  Element** children = nullptr; // in the document's arena
  std::uint32_t childCount = 0;
  // Of the parent's children: the first of a run holds the run's length, each further one its distance from the first.
  std::uint32_t run = 1;
};

// An element of a document, at a fixed address for the document's life. It knows where its tags stand in the source text;
// all else is read there when asked for. What was changed is kept aside by the document.
class Element final : public Node, public NodeContainer {
 public:
  // The null element, shared by all documents.
  static Element null;

  bool IsNull() const noexcept override { return name == nullptr; }
  const std::wstring& GetName() const override;
  std::wstring GetValue() const override;
  std::optional<std::string_view> AsciiValue() const override;
  // The name where it is plain ASCII; lives as long as the document.
  std::optional<std::string_view> AsciiName() const noexcept;

  // The attribute, or the null attribute where the element has none of that name.
  Attribute GetAttribute(const wchar_t* attributeName) const;
  // Makes a new attribute with an empty value. The null attribute, and no change, when there already is one of that name
  // or the name is no XML name.
  Attribute CreateAttribute(const wchar_t* attributeName);
  // Makes a new element, without content, as the last child. The null element, and no change, when the name is no XML name.
  Element& AddElementInto(const wchar_t* elementName);
  operator Value();

 private:
  friend class Attribute;
  friend class ElementLayout;
  friend class Generator;
  friend class Indexer;
  friend class IteratorRef;
  friend class Value;
  friend struct Content;

  constexpr Element() = default;

  std::string Text(const Content& content) const;
  std::uint32_t ParsedChildCount(const ElementChange* change) const noexcept;
  void SetText(std::string&& text);
  std::string AttributeText(std::string_view attributeName, std::string_view raw) const;
  void SetAttributeText(const Name& attribute, std::string_view raw, std::string&& value);
  // Whether the attribute's declared type, if it has one, leaves the value as it is.
  bool CanHold(std::string_view attributeName, std::string_view value) const;
  std::string LeadOfNextChild(const Content& content) const;
  void ReserveChild(Content& content, ElementChange& change);
  void Append(Element& child) noexcept;

  const Name* name = nullptr;
  // Offsets into the document's source, in bytes; all 0 for an element that was created.
  std::uint32_t tagStart = 0;     // of the "<"
  std::uint32_t contentStart = 0; // behind the ">" of the start tag, or of an empty-element tag
  std::uint32_t contentEnd = 0;   // of the end tag's "<"; equals contentStart for an empty-element tag
  std::uint32_t flags = 0;
};

inline std::uint32_t IteratorRef::RunLength() const noexcept { return (*position)->run; }

} // namespace Ostrum

#endif
