// Per document, the elements that are already known, by key.
#ifndef TARVIK_PATHS_ELEMENT_MAP_H
#define TARVIK_PATHS_ELEMENT_MAP_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
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
  // Adds an entry. Throws std::bad_alloc; the map is then unchanged. REQUIRES: there is no entry
  // with the key; the element is not null.
  void Insert(std::string_view key, Ostrum::Element element);

  class KeyChain;

 private:
  struct Entry {
    std::string_view key; // among the texts
    CElementRef reference;

    std::string_view Key() const noexcept { return key; }
  };

  std::uint32_t& RecentSlot(std::string_view key) noexcept;
  // For one more entry. Throws std::bad_alloc.
  void MakeRoom();
  // key is among the texts. REQUIRES: there is room, and no entry with the key.
  void Add(std::string_view key, std::uint32_t hashed, Ostrum::Element element) noexcept;
  char* NewText(std::size_t size) { return static_cast<char*>(texts.allocate(size, 1)); }

  Ostrum::KeyedHash hash;
  std::pmr::monotonic_buffer_resource texts; // of the keys
  std::vector<Entry> entries;
  Ostrum::KeyIndex index;
  // Numbers of entries found last. A group is opened and then read item by item, in turn with a few
  // others whose keys differ in their last bytes: most searches end here, without hashing.
  std::array<std::uint32_t, 64> recent{};
};

// The keys that one call adds, each of which begins with the one before. They share one text, and
// each costs what it adds to the last.
class ElementMap::KeyChain {
 public:
  // maxLength: of the longest key.
  KeyChain(ElementMap& map, std::size_t maxLength)
      : map(map), maxLength(maxLength), hashed(map.hash.Start()) {}
  KeyChain(KeyChain&&) = delete;

  void Append(std::string_view part) { key += part; }
  bool IsEmpty() const noexcept { return key.empty(); }
  // Whether there is an entry under the key as it is now.
  bool IsEntered() noexcept { return map.index.Find(map.entries, key, HashOfKey()) != 0; }

  // Allocates what an entry under the key as it is now needs, so that Enter cannot fail. Throws
  // std::bad_alloc.
  void Prepare();
  // Enters the element under the key, in place of one that is there. REQUIRES: Prepare was the last
  // call.
  void Enter(Ostrum::Element element) noexcept;

 private:
  std::uint32_t HashOfKey() noexcept {
    return static_cast<std::uint32_t>(Ostrum::KeyedHash::Continue(hashed, key));
  }

  ElementMap& map;
  std::size_t maxLength;
  std::string key;
  char* stored = nullptr; // room for maxLength bytes among the map's texts, once one was prepared
  std::size_t storedLength = 0;
  Ostrum::KeyedHash::State hashed;
};

#endif
