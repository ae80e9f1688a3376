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

class ChildIndex;
struct DocumentData;
struct IndexedDocument;
class TextReader;
class Value;

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
  // The element's own text: its character data and CDATA sections, joined in document order.
  Value Text() const;
  // The null value if there is no attribute of that name.
  Value GetAttribute(std::string_view name) const;
  // The names of all attributes: those in the tag, those that were added, and those that only the
  // document type declares. Valid until the document is changed.
  std::vector<std::string_view> AttributeNames() const;

  // The first child element, and the next element of the same parent, in document order; null if
  // there is none. NextSibling REQUIRES: not null.
  Element FirstChild() const noexcept;
  Element NextSibling() const noexcept;
  // The child that the query asks for, or null. Scans the first children, then uses the index.
  // Throws std::bad_alloc.
  Element FindChild(const ChildQuery& query) const;
  // The n-th child, from 1, whose name is or begins with the text.
  Element NthChild(NameMatch match, std::string_view name, std::uint32_t n) const {
    return FindChild({.match = match, .name = name, .n = n});
  }
  // The number of children that it can find.
  std::uint32_t CountChildren(std::string_view name, NameMatch match = NameMatch::Exact) const;

  // Changes throw std::invalid_argument and std::bad_alloc, and then change nothing.

  // Replaces the element's own text. Refused if XML cannot hold the text, or if TextCanBeReplaced
  // is false.
  void SetText(std::string_view text);
  // Sets an attribute, which is added if there is none of that name. Refused if XML cannot hold the
  // name or the value, if the attribute's declared type would fold its white space, or if
  // CanBeChanged is false.
  void SetAttribute(std::string_view name, std::string_view value);
  // Removes an attribute with the white space before it; nothing if that was done before. Refused
  // if there is none, if only the document type declares it, or if CanBeChanged is false.
  void RemoveAttribute(std::string_view name);
  // Adds a new element without content as the last child. Instead of throwing
  // std::invalid_argument, it gives the null element if the name is not an XML name or if
  // CanBeChanged is false.
  Element AddElementInto(std::string_view name);
  // Removes a child with all that it contains; nothing if that was done before. A child alone on
  // its lines takes them with it. Refused if CanBeChanged is false for either. REQUIRES: it is or
  // was a child of this element.
  void RemoveChild(Element child);

  // Whether the element was created since the document was parsed.
  bool IsCreated() const noexcept;
  // False for the null element and for one whose tags are in an entity's text, which has no place
  // of its own in the file.
  bool CanBeChanged() const noexcept;
  // Whether the element's own text can be set. Also false if it refers to an entity that contains
  // elements or whose text is not known.
  bool TextCanBeReplaced() const;

 private:
  friend class Value;

  DocumentData& Data() const noexcept; // REQUIRES: not null
  Element Other(std::uint32_t element) const noexcept;

  std::optional<std::string_view> FindInTag(std::string_view name) const;

  bool IsIndexed() const noexcept;
  ChildIndex& Index() const; // built if there is none
  void DropIndex() noexcept;

  void RequireChangeable() const;
  std::uint32_t LastChild() const noexcept;              // 0 if there is none
  std::string LeadOfNextChild(std::uint32_t last) const; // last: the last child

  IndexedDocument* document = nullptr;
  std::uint32_t number = 0;
};

// The text of an element or the value of an attribute, valid until the document is changed. The
// null value, of an attribute that is not there, is empty.
class Value {
 public:
  Value() = default; // the null value

  bool IsNull() const noexcept { return owner.IsNull(); }

  // The value as XML defines it: a part of the source if it needs no decoding, else assembled in
  // scratch; at least its first `limit` bytes. Valid until scratch or the document is changed.
  std::string_view GetValue(std::string& scratch, std::size_t limit = std::string::npos) const;
  std::string GetValue() const {
    std::string scratch;
    return std::string(GetValue(scratch));
  }
  // Whether the filter accepts the whole value. For a long one this is remembered until the
  // document changes, so that reading its beginning again and again costs no more than that. Throws
  // std::bad_alloc. REQUIRES: not null.
  bool IsAccepted(const TextFilter& filter) const;

 private:
  friend class Element;
  // Where the text comes from: only from the document type, from what was set, or from the source.
  // A tokenized attribute is folded; leads are the white space before new children.
  enum class Form { Declared, Set, Content, ContentWithLeads, Attribute, Tokenized };
  Value(Element owner, std::string_view text, Form form) noexcept
      : owner(owner), text(text), form(form) {}

  bool IsInSource() const noexcept { return form > Form::Set; }
  bool IsContent() const noexcept {
    return form == Form::Content || form == Form::ContentWithLeads;
  }
  // Hands on the parts of the source that make up the value, until `use` returns false.
  template <class Use>
  void ForEachPart(const Use& use) const;
  TextReader ReaderOf(std::string_view part) const noexcept;

  Element owner;
  std::string_view text; // the value, or how it is written in the source
  Form form = Form::Declared;
};

} // namespace Ostrum

#endif
