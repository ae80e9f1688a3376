// What a search asks of the children of an element.
#ifndef TARVIK_HOST_OSTRUMXML_NODES_CHILD_QUERY_H
#define TARVIK_HOST_OSTRUMXML_NODES_CHILD_QUERY_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace Ostrum {

enum class NameMatch { Exact, Prefix };

// The texts that count in a search, for example those that a caller's character set can represent.
struct TextFilter {
  std::uint32_t id; // not 0; differs between filters that accept different texts
  bool (*accepts)(std::string_view text);
};

// All text is UTF-8 and must outlive the query.
struct ChildQuery {
  NameMatch match; // the child's name is, or begins with, `name`
  std::string_view name;
  std::uint32_t n = 1;                          // which of the matches is wanted, from 1
  std::optional<std::string_view> attribute{};  // the child has this attribute
  std::optional<std::string_view> valueBegin{}; // and its value begins with this; n is then 1
  // For these values and for names that only begin with `name`, which it must accept itself; null
  // accepts all.
  const TextFilter* filter = nullptr;

  bool Accepts(std::string_view text) const { return filter == nullptr || filter->accepts(text); }
};

} // namespace Ostrum

#endif
