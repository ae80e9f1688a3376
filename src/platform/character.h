// Single characters of UTF-8 and of the locale's character set.
#ifndef TARVIK_PLATFORM_CHARACTER_H
#define TARVIK_PLATFORM_CHARACTER_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cwchar>
#include <string_view>

namespace platform {

struct Character {
  char32_t value;
  std::size_t length; // in bytes; 0 if the bytes do not begin with a valid character
};

// In bytes. Some C libraries also accept five or six, which are not valid UTF-8.
inline constexpr std::size_t maxCharacterLength = 4;

constexpr bool IsUtf8Continuation(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The first character of a text that is not empty.
constexpr Character DecodeUtf8(std::string_view text) noexcept {
  assert(!text.empty());
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = 2U + (lead >= 0xE0U) + (lead >= 0xF0U);
  if (lead < 0xC2U || lead > 0xF4U || text.size() < length) return {0, 0};
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsUtf8Continuation(text[i])) return {0, 0};
    character = (character << 6) | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (overlong || surrogate || character > 0x10FFFF) return {0, 0};
  return {character, length};
}

// The same in the locale's character set.
inline Character DecodeLocale(std::string_view text) noexcept {
  assert(!text.empty());
  wchar_t wide = 0;
  std::mbstate_t state{};
  const std::size_t limit = std::min(text.size(), maxCharacterLength);
  std::size_t length = std::mbrtowc(&wide, text.data(), limit, &state);
  if (length > limit || !std::mbsinit(&state)) {
    // Some character sets hold a letter back until they see whether an accent follows it.
    state = {};
    if (std::mbrtowc(&wide, text.data(), 1, &state) == 1) {
      std::mbrtowc(&wide, " ", 1, &state);
      length = 1;
    }
  }
  if (length > limit) return {0, 0};
  return {static_cast<char32_t>(wide), length};
}

inline Character Decode(std::string_view text, bool isUtf8) noexcept {
  if (isUtf8) return DecodeUtf8(text);
  return DecodeLocale(text);
}

// Appends a character to wide text: two units where those have 16 bits, else one. Returns their
// number.
constexpr std::size_t StoreWide(char32_t character, wchar_t* target) noexcept {
  assert(character <= 0x10FFFF);
  if (sizeof(wchar_t) > 2 || character <= 0xFFFF) {
    *target = static_cast<wchar_t>(character);
    return 1;
  }
  target[0] = static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
  target[1] = static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
  return 2;
}

} // namespace platform

#endif
