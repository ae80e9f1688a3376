#ifndef TARVIK_HOST_OSTRUMXML_KEYED_HASH_H
#define TARVIK_HOST_OSTRUMXML_KEYED_HASH_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Ostrum {

// SipHash-1-3 under a key that is drawn at run time. Who writes a file doesn't know the key, so no choice of names makes
// them collide.
class KeyedHash {
 public:
  KeyedHash() noexcept; // draws the key

  std::uint64_t operator()(std::string_view text) const noexcept {
    State state{key0 ^ 0x736f6d6570736575U, key1 ^ 0x646f72616e646f6dU, key0 ^ 0x6c7967656e657261U,
                key1 ^ 0x7465646279746573U};
    const std::uint64_t length = std::uint64_t{text.size()} << 56;
    std::uint64_t word = 0;
    for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
      std::memcpy(&word, text.data(), sizeof word);
      state.Mix(word);
    }
    word = 0;
    if (!text.empty()) std::memcpy(&word, text.data(), text.size());
    state.Mix(word | length);
    state.v2 ^= 0xff;
    for (int round = 0; round < 3; ++round) state.Round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
  }

 private:
  struct State {
    std::uint64_t v0, v1, v2, v3;

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

  std::uint64_t key0;
  std::uint64_t key1;
};

} // namespace Ostrum

#endif
