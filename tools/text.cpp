#include "text.h"

#include <climits>
#include <cwchar>

namespace {

constexpr char32_t ReplacementCharacter = 0xFFFD;

// Bytes of the character at the front of text, and the character; one byte where there is none.
std::size_t ReadCharacter(std::string_view text, std::mbstate_t& state, wchar_t& character) {
  const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
  if (length == 0) return 1;
  if (length <= text.size()) return length;
  state = {};
  character = static_cast<wchar_t>(ReplacementCharacter);
  return 1;
}

void AppendUtf8(std::string& utf8, char32_t character) {
  const auto append = [&utf8](char32_t byte) { utf8 += static_cast<char>(byte); };
  const auto appendTail = [&append, character](unsigned shift) { append(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0 | (character >> 6));
    appendTail(0);
  } else if (character < 0x10000) {
    append(0xE0 | (character >> 12));
    appendTail(6);
    appendTail(0);
  } else {
    append(0xF0 | (character >> 18));
    appendTail(12);
    appendTail(6);
    appendTail(0);
  }
}

} // namespace

std::string ToLocale(std::wstring_view text) {
  std::string result;
  std::mbstate_t state{};
  for (const wchar_t character : text) {
    char bytes[MB_LEN_MAX];
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    if (length == static_cast<std::size_t>(-1)) {
      state = {};
      result += '?';
    } else {
      result.append(bytes, length);
    }
  }
  return result;
}

std::string ToUtf8(std::string_view text) {
  std::string utf8;
  std::mbstate_t state{};
  char32_t highSurrogate = 0; // where wide characters have 16 bits, a character may come in two halves
  while (!text.empty()) {
    wchar_t wide = 0;
    text.remove_prefix(ReadCharacter(text, state, wide));
    auto character = static_cast<char32_t>(wide);
    if (character >= 0xD800 && character < 0xDC00) {
      highSurrogate = character;
      continue;
    }
    if (highSurrogate != 0 && character >= 0xDC00 && character < 0xE000) {
      character = 0x10000 + ((highSurrogate - 0xD800) << 10) + (character - 0xDC00);
    }
    highSurrogate = 0;
    AppendUtf8(utf8, character);
  }
  return utf8;
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts(1);
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    const std::size_t length = ReadCharacter(text, state, character);
    if (length == 1 && text.front() == separator) {
      parts.emplace_back();
    } else {
      parts.back().append(text.substr(0, length));
    }
    text.remove_prefix(length);
  }
  return parts;
}
