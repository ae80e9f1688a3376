// Per document, the elements that are already known, by key.
#ifndef TARVIK_PATHS_ELEMENT_MAP_H
#define TARVIK_PATHS_ELEMENT_MAP_H

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>

#include "host/ostrumxml/node.h"

// Refers to an element that the document owns, or to Ostrum::Element::null.
class CElementRef {
 public:
  explicit CElementRef(Ostrum::Element& element) noexcept : element(&element) {}
  virtual ~CElementRef() = default;

  Ostrum::Element* element;
};

// Gives the element map its blocks.
class ElementMapMemory final : public std::pmr::memory_resource {
  void* do_allocate(std::size_t size, std::size_t alignment) override;
  void do_deallocate(void* block, std::size_t size, std::size_t alignment) override;
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }
};

// Keys are compared byte for byte: the root's name, group IDs, and the paths that SetXMLItem built.
class ElementMap {
 public:
  using Entries = std::pmr::map<std::pmr::string, CElementRef*, std::less<>>;
  using Entry = Entries::value_type;
  struct DestroyReference { // its memory goes with the map
    void operator()(CElementRef* reference) const noexcept { reference->~CElementRef(); }
  };
  using OwnedReference = std::unique_ptr<CElementRef, DestroyReference>;

  ElementMap() = default;
  // Destroys its references, in the order of their keys.
  ~ElementMap();
  ElementMap(const ElementMap&) = delete;
  ElementMap& operator=(const ElementMap&) = delete;

  std::size_t Size() const noexcept { return entries.size(); }

  // What a search ended with: the entry, or none and the place where it would stand.
  struct Place {
    Entry* entry;
    Entries::iterator next;
  };
  Place Search(std::string_view key);
  // Enters a new reference to the element where a search for the key found none. Throws std::bad_alloc, the map then being
  // as it was.
  void Insert(const Place& place, std::string_view key, Ostrum::Element& element);

  // An entry that stands in the map not yet, so that nothing can fail when it is entered.
  class NewEntry {
   public:
    NewEntry(ElementMap& map, std::string_view key); // throws std::bad_alloc

   private:
    friend class ElementMap;
    OwnedReference reference;
    Entries::node_type node;
  };
  // Enters it with a reference to the element, in the place of an entry with that key.
  void Replace(NewEntry&& entry, Ostrum::Element& element) noexcept;

 private:
  Entry*& RecentSlot(std::string_view key) noexcept;
  Entries::iterator LowerBound(std::string_view key);
  OwnedReference NewReference(Ostrum::Element& element);

  // Where entries, keys and references live. Since none is removed before the map ends, they are taken from blocks, side by
  // side: the first walk over a catalog of 10,000 packages, which enters 180,000, takes a sixth less.
  ElementMapMemory blocks;
  std::pmr::monotonic_buffer_resource memory{&blocks};
  Entries entries{&memory};
  // The entries searched last. A group is opened and then read item by item, and the keys of a list share all but their last
  // bytes: finding such a key here takes a fifth of the descent. No entry is ever removed, so none here can be stale.
  std::array<Entry*, 16> recent{};
  // The entry that was found or entered last, or the end. Groups are walked in their order, so that the next key mostly stands
  // right behind it; in a map of ten thousand entries, to look there first takes a fifth off listing them.
  Entries::iterator last = entries.end();
};

// The element under the key; null when there is no such entry.
Ostrum::Element* FindInElementMap(ElementMap& map, std::string_view key);

// Enters a new reference to the element under the key; a key that is present keeps its entry. Throws std::bad_alloc, the map
// then being as it was.
void InsertIntoElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element);

#endif
