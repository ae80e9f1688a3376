#ifndef TARVIK_HOST_OSTRUMXML_NODES_CHILD_INDEX_H
#define TARVIK_HOST_OSTRUMXML_NODES_CHILD_INDEX_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/nodes/child_query.h"
#include "host/ostrumxml/nodes/node.h"
#include "host/ostrumxml/nodes/range_minimum.h"

namespace Ostrum {

struct DocumentData;

// Finds children of one element without visiting the others. It keeps them sorted by name, which
// answers queries for one name. For each other key (a beginning of names, a name with an attribute)
// it makes a list when the key is first asked for.
class ChildIndex {
 public:
  // Throws std::bad_alloc, as Find does.
  ChildIndex(IndexedDocument& document, std::uint32_t parent);

  // The child, or null. Nothing if all lists are in use and there is no room for another: the
  // caller must then look at the children one by one.
  std::optional<Element> Find(const ChildQuery& query);

  // The number of children of that name.
  std::uint32_t Count(std::string_view name) const {
    return static_cast<std::uint32_t>(Named(NameMatch::Exact, name).size());
  }

  // Adds a child that was just created as the last one. Throws std::bad_alloc; the index must then
  // be discarded.
  void Append(std::uint32_t child);

 private:
  using Numbers = std::vector<std::uint32_t>; // of elements
  using Range = std::span<const std::uint32_t>;

  // The children that match a query, whatever its n and value.
  struct List {
    explicit List(const ChildQuery& query, std::uint64_t attributesSet);
    bool IsFor(const ChildQuery& query) const noexcept;
    std::size_t Size() const noexcept { return numbers.size() + minima.Size(); }

    NameMatch match;
    std::string name;
    std::optional<std::string> attribute;
    bool isByValue;
    std::uint32_t filter;        // its id
    std::uint64_t attributesSet; // the document's counter when the list was made
    std::uint64_t lastUse = 0;
    Numbers numbers;     // in document order, or sorted by the beginnings of their values
    RangeMinimum minima; // of numbers, if they are by value
    // Whether all children of the name match. The list then has no numbers of its own, since many
    // programs read several attributes of each child in turn.
    bool isWholeRange = false;
  };

  Element At(std::uint32_t number) const noexcept { return {document, number}; }
  Range Named(NameMatch match, std::string_view name) const;
  Range LastNamed(const ChildQuery& query);
  bool IsOneName(Range range) const noexcept;
  Element NthOf(Range range, std::uint32_t n) const noexcept;
  Element FirstWithValue(const List& list, const ChildQuery& query) const;
  const List* ListFor(const ChildQuery& query, Range named);
  bool MakeRoom(std::size_t added);
  void Fill(List& list, const ChildQuery& query, Range named) const;
  void FillByValue(List& list, ChildQuery query, Range named) const;

  IndexedDocument& document;
  const DocumentData& data;
  Numbers byName;         // sorted by name, equal names in document order
  std::deque<List> lists; // the newest last
  std::uint64_t uses = 0; // searches for a list
  // The last search in byName, since callers enumerate children.
  std::optional<std::string> lastName;
  NameMatch lastMatch{};
  Range lastRange;
};

} // namespace Ostrum

#endif
