// UTF-8, the form in which documents are held, and its way to and from wide text.
#ifndef TARVIK_HOST_OSTRUMXML_UTF8_H
#define TARVIK_HOST_OSTRUMXML_UTF8_H

#include <string>
#include <string_view>

namespace Ostrum {

inline constexpr std::string_view utf8ByteOrderMark = "\xEF\xBB\xBF";

bool IsAscii(std::string_view text) noexcept;

// The number of bytes before the first sequence that is not valid, or all.
std::size_t ValidUtf8Prefix(std::string_view text) noexcept;

inline bool IsUtf8(std::string_view text) noexcept { return ValidUtf8Prefix(text) == text.size(); }

// REQUIRES: utf8 is valid.
std::wstring WideFromUtf8(std::string_view utf8);

// False, with utf8 of unspecified content, when the text is not valid: half of a surrogate pair, or beyond U+10FFFF.
bool Utf8FromWide(std::wstring_view wide, std::string& utf8);

void AppendUtf8(char32_t character, std::string& utf8);

} // namespace Ostrum

#endif
