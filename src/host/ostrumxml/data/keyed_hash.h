#ifndef TARVIK_HOST_OSTRUMXML_DATA_KEYED_HASH_H
#define TARVIK_HOST_OSTRUMXML_DATA_KEYED_HASH_H

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ostrum {

// SipHash-1-3. A file's author cannot know the key, so no choice of names makes them collide.
class KeyedHash {
 public:
  KeyedHash() noexcept; // with a random key
  KeyedHash(std::uint64_t key0, std::uint64_t key1) noexcept : key0(key0), key1(key1) {}

  std::uint64_t operator()(std::string_view text) const noexcept {
    State state = Start();
    return Continue(state, text);
  }

  // Where hashing a text has got to. For texts that each begin with the one before, so that hashing
  // the next costs only what it adds.
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
  // The hash of the text. REQUIRES: the text begins with the one that state was last given.
  static std::uint64_t Continue(State& state, std::string_view text) noexcept {
    assert(state.taken <= text.size());
    constexpr std::size_t wordSize = sizeof(std::uint64_t);
    for (; text.size() - state.taken >= wordSize; state.taken += wordSize)
      state.Mix(Word(text.data() + state.taken, wordSize));
    State end = state;
    const std::size_t rest = text.size() - state.taken;
    end.Mix(Word(text.data() + state.taken, rest) | std::uint64_t{text.size()} << 56);
    end.v2 ^= 0xff;
    for (int round = 0; round < 3; ++round) end.Round();
    return end.v0 ^ end.v1 ^ end.v2 ^ end.v3;
  }

 private:
  // In little-endian order on every machine, so that the length, which joins the last word, covers
  // no byte of the text.
  static std::uint64_t Word(const char* bytes, std::size_t size) noexcept {
    assert(size <= sizeof(std::uint64_t));
    std::uint64_t word = 0;
    std::copy_n(bytes, size, reinterpret_cast<char*>(&word));
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
  }

  std::uint64_t key0;
  std::uint64_t key1;
};

} // namespace Ostrum

#endif
