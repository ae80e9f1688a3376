#ifndef TARVIK_HOST_OSTRUMXML_DATA_NAME_TABLE_H
#define TARVIK_HOST_OSTRUMXML_DATA_NAME_TABLE_H

#include <array>
#include <cassert>
#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/key_index.h"
#include "host/ostrumxml/data/keyed_hash.h"

namespace Ostrum {

// The names of a document's elements, each held once and numbered from 1. Adding and finding take
// time in proportion to the name's length, whatever names are in the table.
class NameTable {
 public:
  // REQUIRES: number is that of a name.
  std::string_view Text(std::uint32_t number) const noexcept {
    assert(number != 0 && number <= names.size());
    return names[number - 1].Key();
  }

  // The name's number, or 0.
  std::uint32_t Find(std::string_view text) const noexcept;
  // The name's number; adds the name if it is not in the table. REQUIRES: text is not empty and
  // outlives the table. Throws std::bad_alloc; the table is then unchanged.
  std::uint32_t Intern(std::string_view text) {
    const std::uint32_t seen = recent[RecentSlot(text)];
    if (seen != 0 && Text(seen) == text) return seen;
    return Add(text);
  }
  // The same for text that does not outlive the table.
  std::uint32_t InternCopy(std::string_view text);

 private:
  struct Name {
    const char* text;
    std::uint32_t length;

    std::string_view Key() const noexcept { return {text, length}; }
  };

  static std::size_t RecentSlot(std::string_view text) noexcept {
    assert(!text.empty());
    const auto first = static_cast<unsigned char>(text.front());
    const auto last = static_cast<unsigned char>(text.back());
    return (first * 5U + last * 3U + text.size()) % 64U;
  }
  std::uint32_t Add(std::string_view text); // unless it is in the table

  KeyedHash hash;
  std::vector<Name> names;
  KeyIndex index;
  std::forward_list<std::string> copies;
  // Documents repeat a few names: most lookups end here, without hashing.
  std::array<std::uint32_t, 64> recent{};
};

} // namespace Ostrum

#endif
