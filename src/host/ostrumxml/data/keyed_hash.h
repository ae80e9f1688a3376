#ifndef TARVIK_HOST_OSTRUMXML_DATA_KEYED_HASH_H
#define TARVIK_HOST_OSTRUMXML_DATA_KEYED_HASH_H

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace Ostrum {

// SipHash-1-3 under a key that is drawn at run time. Who writes a file doesn't know the key, so no
// choice of names makes them collide.
class KeyedHash {
 public:
  KeyedHash() noexcept; // draws the key

  std::uint64_t operator()(std::string_view text) const noexcept {
    State state = Start();
    return Continue(state, text);
  }

  // For texts each of which begins with the one before: hashing the next costs no more than what it
  // adds.
  struct State {
    std::uint64_t v0, v1, v2, v3;
    std::size_t taken; // bytes of the text, in whole words

    void Mix(std::uint64_t word) noexcept {
      v3 ^= word;
      Round();
      v0 ^= word;
    }
    void Round() noexcept {
      v0 += v1;
      v1 = std::rotl(v1, 13) ^ v0;
      v0 = std::rotl(v0, 32);
      v2 += v3;
      v3 = std::rotl(v3, 16) ^ v2;
      v0 += v3;
      v3 = std::rotl(v3, 21) ^ v0;
      v2 += v1;
      v1 = std::rotl(v1, 17) ^ v2;
      v2 = std::rotl(v2, 32);
    }
  };
  State Start() const noexcept {
    return {key0 ^ 0x736f6d6570736575U, key1 ^ 0x646f72616e646f6dU, key0 ^ 0x6c7967656e657261U,
            key1 ^ 0x7465646279746573U, 0};
  }
  static std::uint64_t Continue(State& state, std::string_view text) noexcept {
    std::uint64_t word = 0;
    for (; text.size() - state.taken >= sizeof word; state.taken += sizeof word) {
      std::memcpy(&word, text.data() + state.taken, sizeof word);
      state.Mix(word);
    }
    State end = state;
    const std::string_view rest = text.substr(state.taken);
    word = 0;
    if (!rest.empty()) std::memcpy(&word, rest.data(), rest.size());
    end.Mix(word | std::uint64_t{text.size()} << 56);
    end.v2 ^= 0xff;
    for (int round = 0; round < 3; ++round) end.Round();
    return end.v0 ^ end.v1 ^ end.v2 ^ end.v3;
  }

 private:
  std::uint64_t key0;
  std::uint64_t key1;
};

// Finds entries by their keys. The entries stand in a row elsewhere, and each has a Key(). Holds
// their numbers, counted from 1, and the lower halves of their hashes, by open addressing: a look
// passes the keys of other entries by.
class KeyIndex {
 public:
  // Makes room for one entry more than there are. Throws std::bad_alloc, the index then being as it
  // was.
  void MakeRoom(std::size_t entryCount) {
    constexpr std::size_t fewest = 16;
    if ((entryCount + 1) * 2 <= slots.size()) return;
    std::vector<Slot> grown(std::max(fewest, slots.size() * 2));
    slots.swap(grown);
    for (const Slot& slot : grown) {
      std::size_t place = slot.hash;
      while (slot.number != 0 && At(place).number != 0) ++place;
      if (slot.number != 0) At(place) = slot;
    }
  }

  // The number of the entry with the key, or 0.
  template <class Entries>
  std::uint32_t Find(const Entries& entries, std::string_view key,
                     std::uint32_t hash) const noexcept {
    return slots.empty() ? 0 : At(PlaceOf(entries, key, hash)).number;
  }

  // Enters the number under the key, unless there is one already; returns the number that is there.
  // REQUIRES: MakeRoom.
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
    std::uint32_t number; // 0 where the slot is free
    std::uint32_t hash;
  };

  template <class Entries>
  std::size_t PlaceOf(const Entries& entries, std::string_view key,
                      std::uint32_t hash) const noexcept {
    for (std::size_t place = hash;; ++place) {
      const Slot& slot = At(place);
      if (slot.number == 0 || (slot.hash == hash && entries[slot.number - 1].Key() == key))
        return place;
    }
  }
  const Slot& At(std::size_t place) const noexcept { return slots[place & (slots.size() - 1)]; }
  Slot& At(std::size_t place) noexcept { return slots[place & (slots.size() - 1)]; }

  std::vector<Slot> slots; // a power of two of them, at most half taken
};

} // namespace Ostrum

#endif
