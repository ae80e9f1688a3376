// UTF-8, in which documents are stored, and its conversion from and to wide text.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_UTF8_H
#define TARVIK_HOST_OSTRUMXML_DATA_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrum {

inline constexpr std::string_view utf8ByteOrderMark = "\xEF\xBB\xBF";

// The number of bytes before the first that is not ASCII, or all.
std::size_t AsciiPrefix(std::string_view text) noexcept;

inline bool IsAscii(std::string_view text) noexcept { return AsciiPrefix(text) == text.size(); }

// The number of bytes before the first sequence that is not valid, or all.
std::size_t ValidUtf8Prefix(std::string_view text) noexcept;

inline bool IsUtf8(std::string_view text) noexcept { return ValidUtf8Prefix(text) == text.size(); }

// REQUIRES: utf8 is valid.
std::wstring WideFromUtf8(std::string_view utf8);

// False if the text has half of a surrogate pair or a value beyond U+10FFFF; utf8 then has
// unspecified content.
bool Utf8FromWide(std::wstring_view wide, std::string& utf8);

// False, with nothing appended, for half of a surrogate pair or a value beyond U+10FFFF.
bool AppendUtf8(char32_t character, std::string& utf8);

// The character encoded by two units of UTF-16; 0 if they are not a surrogate pair.
constexpr char32_t FromSurrogates(char32_t high, char32_t low) noexcept {
  const bool isPair = high >= 0xD800 && high <= 0xDBFF && low >= 0xDC00 && low <= 0xDFFF;
  if (!isPair) return 0;
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

} // namespace Ostrum

#endif
