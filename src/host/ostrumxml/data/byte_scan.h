// Comparing many bytes at a step.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_BYTE_SCAN_H
#define TARVIK_HOST_OSTRUMXML_DATA_BYTE_SCAN_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Ostrum {

// Sixteen bytes, compared at once. The result of a comparison has all bits of a byte set or none.
using Bytes = unsigned char __attribute__((vector_size(16)));

inline signed char AsSigned(unsigned char byte) noexcept { return static_cast<signed char>(byte); }
inline auto AsSigned(Bytes bytes) noexcept {
  using SignedBytes = signed char __attribute__((vector_size(16)));
  return reinterpret_cast<SignedBytes>(bytes);
}

// The place in sixteen bytes of the first that is not zero, or 16.
std::size_t FirstSet(auto bytes) noexcept {
  std::uint64_t words[2];
  static_assert(sizeof words == sizeof bytes);
  std::memcpy(words, &bytes, sizeof words);
  const auto zeros = [](std::uint64_t word) {
    if (std::endian::native == std::endian::little) return std::countr_zero(word);
    return std::countl_zero(word);
  };
  if (words[0] != 0) return static_cast<std::size_t>(zeros(words[0])) / 8;
  return sizeof words[0] + static_cast<std::size_t>(zeros(words[1])) / 8;
}

// The number of bytes before the first for which isWanted holds, or all. isWanted takes a byte or
// Bytes.
template <class Wanted>
std::size_t LengthBefore(std::string_view text, Wanted isWanted) noexcept {
  std::size_t length = 0;
  for (Bytes bytes; text.size() - length >= sizeof bytes; length += sizeof bytes) {
    std::memcpy(&bytes, text.data() + length, sizeof bytes);
    const std::size_t first = FirstSet(isWanted(bytes));
    if (first < sizeof bytes) return length + first;
  }
  while (length < text.size() && !isWanted(static_cast<unsigned char>(text[length]))) ++length;
  return length;
}

// The same, faster where hardly any byte is wanted, as in a whole document.
template <class Wanted>
std::size_t LongLengthBefore(std::string_view text, Wanted isWanted) noexcept {
  constexpr std::size_t size = sizeof(Bytes);
  std::size_t length = 0;
  const auto wantedAt = [&](std::size_t offset) {
    Bytes bytes;
    std::memcpy(&bytes, text.data() + length + offset, size);
    return isWanted(bytes);
  };
  for (; text.size() - length >= 4 * size; length += 4 * size) {
    const auto wanted = wantedAt(0) | wantedAt(size) | wantedAt(2 * size) | wantedAt(3 * size);
    if (FirstSet(wanted) < size) break;
  }
  return length + LengthBefore(text.substr(length), isWanted);
}

} // namespace Ostrum

#endif
