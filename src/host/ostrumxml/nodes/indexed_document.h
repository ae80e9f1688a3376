#ifndef TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {

// Finds children of one element without visiting the others. It keeps them sorted by name, which
// answers queries for one name. For each other key (a beginning of names, a name with an attribute)
// it makes a list when the key is first asked for.
class ChildIndex {
 public:
  // The member functions throw std::bad_alloc.
  ChildIndex(IndexedDocument& document, std::uint32_t parent);

  // The child, or null. Nothing if all lists are in use and there is no room for another: the
  // caller must then look at the children one by one.
  std::optional<Element> Find(const ChildQuery& query);

  // The number of children whose name is or begins with the text.
  std::uint32_t Count(NameMatch match, std::string_view name) {
    return static_cast<std::uint32_t>(Named(match, name).size());
  }

  // Adds a child that was just created as the last one. After an exception the index must be
  // discarded.
  void Append(std::uint32_t child);

 private:
  using Numbers = std::vector<std::uint32_t>; // of elements
  using Range = std::span<const std::uint32_t>;

  // The children that match a query, whatever its n and value.
  struct List {
    // The parts of the query that count.
    NameMatch match;
    std::string name;
    std::optional<std::string> attribute;
    bool isByValue;
    std::uint32_t filter; // its id

    Numbers numbers{}; // in document order, or sorted by the beginnings of their values
    Numbers minima{};  // the least of each block of numbers
    // Whether all children of the name match. The list then has no numbers of its own, since many
    // programs read several attributes of each child in turn.
    bool isWholeRange = false;
    std::uint64_t lastUse = 0;
  };

  Element At(std::uint32_t number) const noexcept { return {document, number}; }
  Numbers& SortedFor(NameMatch match) noexcept {
    return match == NameMatch::Exact ? byName : byText;
  }
  const Numbers& Sorted(NameMatch match); // when first asked for
  bool IsBefore(NameMatch match, std::uint32_t left, std::uint32_t right) const; // in that order
  Range Named(NameMatch match, std::string_view name);
  Element NthOf(Range range, std::uint32_t n) const noexcept;
  std::string_view ValueBegin(std::uint32_t number, std::string_view attribute,
                              std::string& scratch, std::size_t limit) const;
  Element FirstWithValue(const List& list, std::string_view wanted) const;
  const List* ListFor(const ChildQuery& query, Range named);
  bool MakeRoom();
  List MakeList(ChildQuery query, Range named) const;
  void SortByValue(List& list) const;

  IndexedDocument& document;
  const DocumentData& data;
  const std::uint32_t parent;
  // All children, equal names in document order; empty until a search needs them. Names have their
  // numbers in document order, so children of different names are in that order from the start.
  Numbers byName;                  // sorted by the names' numbers, for exact matches
  Numbers byText;                  // sorted by the names, for beginnings of names
  std::deque<List> lists;          // the newest last
  std::uint64_t uses = 0;          // searches for a list
  std::uint64_t attributesSet = 0; // the document's counter at the last of them
  // The last search by name, since callers enumerate children.
  std::optional<std::string> lastName;
  NameMatch lastMatch{};
  Range lastRange;
};

// A document's data with the indexes that searches built over it, by element.
struct IndexedDocument {
  explicit IndexedDocument(std::string text) : data(std::move(text)) {}

  DocumentData data;
  std::unordered_map<std::uint32_t, ChildIndex> childIndexes;
  // The attributes in tags that have very many, sorted by name.
  std::unordered_map<std::uint32_t, std::vector<RawAttribute>> tagIndexes;
  // Whether filters accept long values: by the place of the value, which elements can share, and
  // the filter's id. Forgotten when a value is set.
  std::map<std::pair<const char*, std::uint32_t>, bool> judgedValues;
};

inline DocumentData& Element::Data() const noexcept {
  assert(!IsNull());
  return document->data;
}

// An element of the same document; null for 0.
inline Element Element::Other(std::uint32_t element) const noexcept {
  if (element == 0) return {};
  return {*document, element};
}

} // namespace Ostrum

#endif
