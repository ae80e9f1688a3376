// Per document, the elements that are already known, by key.
#ifndef TARVIK_PATHS_ELEMENT_MAP_H
#define TARVIK_PATHS_ELEMENT_MAP_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/key_index.h"
#include "host/ostrumxml/data/keyed_hash.h"
#include "host/ostrumxml/nodes/node.h"

// Refers to an element that the document owns.
class CElementRef {
 public:
  explicit CElementRef(Ostrum::Element element) noexcept : element(element) {}
  virtual ~CElementRef() = default;

  Ostrum::Element element;
};

// Keys are compared byte for byte: the root's name, group IDs, and the paths that SetXMLItem built.
// No entry is ever removed.
class ElementMap {
 public:
  ElementMap() = default;
  ElementMap(ElementMap&&) = delete;

  std::size_t Size() const noexcept { return entries.size(); }

  // The null element if there is no entry.
  Ostrum::Element Find(std::string_view key) noexcept;
  // Adds an entry. Throws std::bad_alloc; the map is then unchanged. REQUIRES: Find gives the null
  // element; the element is not null.
  void Insert(std::string_view key, Ostrum::Element element);

  // For the keys that one call adds, each of which begins with the one before: the numbers of the
  // entries under the text's beginnings of these lengths, which ascend. Adds entries with the null
  // element, which count as none, where there are none; they share one text. Throws std::bad_alloc.
  std::vector<std::uint32_t> AddPrefixes(std::string_view text,
                                         const std::vector<std::size_t>& lengths);
  // Gives an entry the element, unless it has one that is to be kept.
  void Enter(std::uint32_t number, Ostrum::Element element, bool replaces) noexcept;

 private:
  struct Entry {
    std::string_view key; // among the texts
    CElementRef reference;

    std::string_view Key() const noexcept { return key; }
  };

  std::uint32_t& RecentSlot(std::string_view key) noexcept;
  std::uint32_t HashOf(std::string_view key) const noexcept {
    return static_cast<std::uint32_t>(hash(key));
  }
  // Copies a key to the texts. Throws std::bad_alloc.
  std::string_view Keep(std::string_view key);
  // Adds an entry with the null element, unless there is one under the key, which is among the
  // texts; returns its number. Throws std::bad_alloc; the map is then unchanged.
  std::uint32_t Add(std::string_view key, std::uint32_t hashed);

  Ostrum::KeyedHash hash;
  std::pmr::monotonic_buffer_resource texts; // of the keys
  std::vector<Entry> entries;
  Ostrum::KeyIndex index;
  // Numbers of entries found last. A group is opened and then read item by item, in turn with a few
  // others whose keys differ in their last bytes: most searches end here, without hashing.
  std::array<std::uint32_t, 64> recent{};
};

#endif
