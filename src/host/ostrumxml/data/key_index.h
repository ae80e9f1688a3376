#ifndef TARVIK_HOST_OSTRUMXML_DATA_KEY_INDEX_H
#define TARVIK_HOST_OSTRUMXML_DATA_KEY_INDEX_H

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Ostrum {

// A hash table of numbers, for entries that are kept in a sequence elsewhere: entry n is entries[n
// - 1] and has a Key(). Open addressing; the hash in each slot avoids looking at other entries'
// keys. The caller passes the same hash for the same key.
class KeyIndex {
 public:
  // Makes room for one more entry. Throws std::bad_alloc; the index is then unchanged.
  void MakeRoom(std::size_t entryCount) {
    constexpr std::size_t minSlots = 16;
    if ((entryCount + 1) * 2 <= slots.size()) return;
    std::vector<Slot> grown(std::max(minSlots, slots.size() * 2));
    slots.swap(grown);
    for (const Slot& slot : grown) {
      std::size_t place = Home(slot.hash);
      while (slot.number != 0 && At(place).number != 0) ++place;
      if (slot.number != 0) At(place) = slot;
    }
  }

  // The number of the entry with the key, or 0.
  template <class Entries>
  std::uint32_t Find(const Entries& entries, std::string_view key,
                     std::uint32_t hash) const noexcept {
    if (slots.empty()) return 0;
    return At(PlaceOf(entries, key, hash)).number;
  }

  // Adds the number under the key unless there is one already; returns the number that is there.
  // REQUIRES: MakeRoom was called, and the entry of that number has the key.
  template <class Entries>
  std::uint32_t Enter(const Entries& entries, std::string_view key, std::uint32_t hash,
                      std::uint32_t number) noexcept {
    assert(entries.size() < slots.size());
    Slot& slot = At(PlaceOf(entries, key, hash));
    if (slot.number == 0) slot = {number, hash};
    return slot.number;
  }

 private:
  struct Slot {
    std::uint32_t number; // 0 if the slot is free
    std::uint32_t hash;
  };

  template <class Entries>
  std::size_t PlaceOf(const Entries& entries, std::string_view key,
                      std::uint32_t hash) const noexcept {
    assert(std::has_single_bit(slots.size()));
    for (std::size_t place = Home(hash);; ++place) {
      const Slot& slot = At(place);
      if (slot.number == 0 || (slot.hash == hash && entries[slot.number - 1].Key() == key))
        return place;
    }
  }
  // In the order of the hashes, so that a table that grows is copied from its beginning to its end.
  std::size_t Home(std::uint32_t hash) const noexcept {
    return static_cast<std::size_t>(std::uint64_t{hash} * slots.size() >> 32);
  }
  const Slot& At(std::size_t place) const noexcept { return slots[place & (slots.size() - 1)]; }
  Slot& At(std::size_t place) noexcept { return slots[place & (slots.size() - 1)]; }

  std::vector<Slot> slots; // a power of two of them, at most half of them in use
};

} // namespace Ostrum

#endif
