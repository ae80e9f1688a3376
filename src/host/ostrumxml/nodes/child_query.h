// What a search asks of the children of an element.
#ifndef TARVIK_HOST_OSTRUMXML_NODES_CHILD_QUERY_H
#define TARVIK_HOST_OSTRUMXML_NODES_CHILD_QUERY_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace Ostrum {

enum class NameMatch { Exact, Prefix };

// The texts that count in a search, for example those that a caller's character set can represent:
// a filter accepts a text if it accepts each character. One from the default constructor accepts
// all.
struct TextFilter {
  std::uint32_t id = 0; // differs between filters that accept different texts; 0 if it accepts all
  bool (*accepts)(std::string_view text) = nullptr; // null if id is 0

  bool AcceptsAll() const noexcept { return id == 0; }
  bool Accepts(std::string_view text) const { return AcceptsAll() || accepts(text); }
};

// All text is UTF-8 and must outlive the query.
struct ChildQuery {
  NameMatch match; // the child's name is, or begins with, `name`
  std::string_view name;
  std::uint32_t n = 1;                          // which of the matches is wanted, from 1
  std::optional<std::string_view> attribute{};  // the child has this attribute
  std::optional<std::string_view> valueBegin{}; // and its value begins with this; n is then 1
  // For whole names and values. It must accept `name`: most names that a search compares are that,
  // and asking it of each would take three times as long.
  TextFilter filter{};

  bool Accepts(std::string_view childName) const {
    return childName.size() == name.size() || filter.Accepts(childName);
  }
};

} // namespace Ostrum

#endif
