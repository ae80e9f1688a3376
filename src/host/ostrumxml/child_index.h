#ifndef TARVIK_HOST_OSTRUMXML_CHILD_INDEX_H
#define TARVIK_HOST_OSTRUMXML_CHILD_INDEX_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/ostrumxml/node.h"

namespace Ostrum {

struct Content;

// Finds the children of one element by name without walking over the others. It holds them sorted by name, which answers for
// each exact name and for each beginning of one name alone; for other searches it makes a list when they are first asked
// for, and keeps the last ones.
class ChildIndex {
 public:
  // Throws std::bad_alloc, as all searches do.
  ChildIndex(const Content& content, const Element& parent);

  bool NamesAreAscii() const noexcept { return namesAreAscii; }

  // As the functions of Element, but null where there is none.
  Element* Nth(NameMatch match, std::string_view text, std::uint32_t n);
  Element* NthWithAttribute(std::string_view childName, std::string_view attributeName, std::uint32_t n);
  Element* FirstWithValue(std::string_view nameBegin, std::string_view attributeName, std::string_view valueBegin);

  // Enters a child that was made last. Throws std::bad_alloc; the index is then to be thrown away.
  void Append(const Element& child);

 private:
  using Numbers = std::vector<std::uint32_t>; // of elements
  using Range = std::pair<Numbers::const_iterator, Numbers::const_iterator>;

  enum class ListKind { Prefix, ExactWithAttribute, PrefixByValue };
  struct List {
    ListKind kind;
    std::string name;
    std::string attribute;
    std::uint64_t attributesSet; // of the document when the list was made
    Numbers numbers;             // in document order, or by value where the kind says so
    // What was searched last in a list by value, and the first child found.
    std::optional<std::string> lastValue;
    std::uint32_t lastFound;
  };

  std::string_view NameOf(std::uint32_t number) const noexcept;
  Range Named(NameMatch match, std::string_view text) const;
  bool IsOneName(const Range& range) const noexcept;
  List& ListFor(ListKind kind, std::string_view name, std::string_view attribute);
  Numbers MakeList(ListKind kind, std::string_view name, std::string_view attribute) const;

  const Content& content;
  Numbers byName;         // by name, those of one name in document order
  std::deque<List> lists; // the latest last
  bool namesAreAscii = true;
  // What was searched last, since children are enumerated, and where it lies in byName.
  std::optional<std::string> lastText;
  NameMatch lastMatch{};
  Range lastRange;
};

} // namespace Ostrum

#endif
