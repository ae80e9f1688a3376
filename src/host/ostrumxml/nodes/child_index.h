#ifndef TARVIK_HOST_OSTRUMXML_NODES_CHILD_INDEX_H
#define TARVIK_HOST_OSTRUMXML_NODES_CHILD_INDEX_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {

struct DocumentData;

// Finds children of one element by name without visiting the others. It keeps them sorted by name,
// which is enough for exact names and for prefixes that only one name has. For each other search it
// makes a list when first needed, and keeps the most recent lists.
class ChildIndex {
 public:
  // Throws std::bad_alloc, as all searches do.
  ChildIndex(IndexedDocument& document, std::uint32_t parent);

  bool NamesAreAscii() const noexcept { return namesAreAscii; }
  bool ValuesAreAscii(std::string_view nameBegin, std::string_view attributeName) {
    return ListFor(ListKind::PrefixByValue, nameBegin, attributeName).valuesAreAscii;
  }
  // Each name once; none if nearly each child has a name of its own.
  std::vector<std::string_view> Names() const;

  // As the functions of Element.
  Element Nth(NameMatch match, std::string_view text, std::uint32_t n);
  Element NthWithAttribute(std::string_view childName, std::string_view attributeName,
                           std::uint32_t n);
  Element FirstWithValue(std::string_view nameBegin, std::string_view attributeName,
                         std::string_view valueBegin);

  // Adds a child that was just created as the last one. Throws std::bad_alloc; the index must then
  // be discarded.
  void Append(std::uint32_t child);

 private:
  using Numbers = std::vector<std::uint32_t>; // of elements
  using Range = std::pair<Numbers::const_iterator, Numbers::const_iterator>;

  enum class ListKind { Prefix, ExactWithAttribute, PrefixByValue };
  struct List {
    ListKind kind;
    std::string name;
    std::string attribute;
    std::uint64_t attributesSet; // the document's counter when the list was made
    Numbers numbers;             // in document order; by value for PrefixByValue
    bool holdsAllNamed;          // byName then serves instead of numbers
    bool valuesAreAscii;         // for PrefixByValue
    // For PrefixByValue: the first child for each beginning of a value that many have.
    std::map<std::string, std::uint32_t, std::less<>> results;

    Range AsRange() const noexcept { return {numbers.begin(), numbers.end()}; }
  };

  Element At(std::uint32_t number) const noexcept { return {document, number}; }
  Range Named(NameMatch match, std::string_view text) const;
  const Range& LastNamed(NameMatch match, std::string_view text);
  Element NthOf(const Range& range, std::uint32_t n) const noexcept;
  bool IsOneName(const Range& range) const noexcept;
  List& ListFor(ListKind kind, std::string_view name, std::string_view attribute);
  void Fill(List& list);

  IndexedDocument& document;
  const DocumentData& data;
  Numbers byName;         // sorted by name, equal names in document order
  std::deque<List> lists; // the newest last
  bool namesAreAscii = true;
  // The last search and its range in byName, since callers enumerate children.
  std::optional<std::string> lastText;
  NameMatch lastMatch{};
  Range lastRange;
};

} // namespace Ostrum

#endif
