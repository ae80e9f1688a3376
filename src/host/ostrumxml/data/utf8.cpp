#include "host/ostrumxml/data/utf8.h"

#include <cassert>
#include <cstddef>
#include <cstring>

#include "host/ostrumxml/data/byte_scan.h"
#include "platform/character.h"

namespace Ostrum {
namespace {

constexpr bool wideIsUtf16 = sizeof(wchar_t) == 2;

constexpr std::size_t reach = 3; // a byte's validity depends on this many bytes before it

// Checks the sixteen bytes at `block`, each against the three before it.
bool IsValidBlock(const char* block) noexcept {
  Bytes byte, before, second, third;
  std::memcpy(&byte, block, sizeof byte);
  std::memcpy(&before, block - 1, sizeof before);
  std::memcpy(&second, block - 2, sizeof second);
  std::memcpy(&third, block - 3, sizeof third);
  const auto isDue = (before >= 0xC0) | (second >= 0xE0) | (third >= 0xF0);
  const auto never = (byte == 0xC0) | (byte == 0xC1) | (byte >= 0xF5);
  const auto overlong = ((before == 0xE0) & (byte < 0xA0)) | ((before == 0xF0) & (byte < 0x90));
  const auto beyond = ((before == 0xED) & (byte >= 0xA0)) | ((before == 0xF4) & (byte >= 0x90));
  const auto faults = (((byte & 0xC0) == 0x80) ^ isDue) | never | overlong | beyond;
  return FirstSet(faults) == sizeof byte;
}

} // namespace

std::size_t AsciiPrefix(std::string_view text) noexcept {
  return LongLengthBefore(text, [](auto byte) { return byte >= 0x80; });
}

std::size_t ValidUtf8Prefix(std::string_view text) noexcept {
  std::size_t position = AsciiPrefix(text);
  while (position < text.size()) {
    const std::size_t start = position;
    while (position >= reach && position + sizeof(Bytes) <= text.size() &&
           IsValidBlock(text.data() + position)) {
      position += sizeof(Bytes);
    }
    // The last sequence may extend beyond the last block.
    while (position > start && platform::IsUtf8Continuation(text[--position])) {
    }
    const std::size_t length = platform::DecodeUtf8(text.substr(position)).length;
    if (length == 0) break;
    position += length;
    position += AsciiPrefix(text.substr(position));
  }
  return position;
}

std::wstring WideFromUtf8(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  while (!utf8.empty()) {
    const auto [character, length] = platform::DecodeUtf8(utf8);
    assert(length > 0);
    utf8.remove_prefix(length);
    wchar_t units[2];
    wide.append(units, platform::StoreWide(character, units));
  }
  return wide;
}

bool Utf8FromWide(std::wstring_view wide, std::string& utf8) {
  utf8.clear();
  utf8.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto character = static_cast<char32_t>(wide[i]);
    if (wideIsUtf16 && i + 1 < wide.size()) {
      const char32_t pair = FromSurrogates(character, static_cast<char32_t>(wide[i + 1]));
      if (pair != 0) ++i;
      if (pair != 0) character = pair;
    }
    if (!AppendUtf8(character, utf8)) return false;
  }
  return true;
}

bool AppendUtf8(char32_t character, std::string& utf8) {
  if (character < 0x80) {
    utf8 += static_cast<char>(character);
    return true;
  }
  if ((character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF) return false;
  int shift = 6;
  if (character >= 0x800) shift = 12;
  if (character >= 0x10000) shift = 18;
  utf8 += static_cast<char>((0xFF80U >> (shift / 6)) | (character >> shift));
  while ((shift -= 6) >= 0) utf8 += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
  return true;
}

} // namespace Ostrum
