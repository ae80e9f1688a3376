#include "host/ostrumxml/data/utf8.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Ostrum {
namespace {

constexpr bool wideIsUtf16 = sizeof(wchar_t) == 2;

bool IsContinuation(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

struct Sequence {
  char32_t character;
  std::size_t length; // in bytes; 0 if the sequence is not valid
};

// The first sequence of a text that is not empty.
Sequence DecodeSequence(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
  if (lead < 0xC2U || lead > 0xF4U || text.size() < length) return {0, 0};
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(text[i])) return {0, 0};
    character = (character << 6) | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (overlong || surrogate || character > 0x10FFFF) return {0, 0};
  return {character, length};
}

// Sixteen bytes, compared at once.
using Bytes = unsigned char __attribute__((vector_size(16)));
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
  std::uint64_t words[2];
  std::memcpy(words, &faults, sizeof words);
  return (words[0] | words[1]) == 0;
}

} // namespace

std::size_t AsciiPrefix(std::string_view text) noexcept {
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  std::size_t length = 0;
  for (std::uint64_t words[4]; text.size() - length >= sizeof words; length += sizeof words) {
    std::memcpy(words, text.data() + length, sizeof words);
    if (((words[0] | words[1] | words[2] | words[3]) & highBits) != 0) break;
  }
  for (std::uint64_t word; text.size() - length >= sizeof word; length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & highBits) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80U) ++length;
  return length;
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
    while (position > start && IsContinuation(text[--position])) {
    }
    const std::size_t length = DecodeSequence(text.substr(position)).length;
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
    const auto [character, length] = DecodeSequence(utf8);
    assert(length > 0);
    utf8.remove_prefix(length);
    if (wideIsUtf16 && character > 0xFFFF) {
      wide += static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
      wide += static_cast<wchar_t>(0xDC00 + (character & 0x3FF));
    } else {
      wide += static_cast<wchar_t>(character);
    }
  }
  return wide;
}

bool Utf8FromWide(std::wstring_view wide, std::string& utf8) {
  utf8.clear();
  utf8.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    const auto unit = static_cast<char32_t>(wide[i]);
    const bool maybePair = wideIsUtf16 && i + 1 < wide.size();
    const char32_t pair = maybePair ? FromSurrogates(unit, static_cast<char32_t>(wide[i + 1])) : 0;
    if (pair != 0) ++i;
    if (!AppendUtf8(pair != 0 ? pair : unit, utf8)) return false;
  }
  return true;
}

bool AppendUtf8(char32_t character, std::string& utf8) {
  if (character < 0x80) {
    utf8 += static_cast<char>(character);
    return true;
  }
  if ((character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF) return false;
  int shift = character < 0x800 ? 6 : character < 0x10000 ? 12 : 18;
  utf8 += static_cast<char>((0xFF80U >> (shift / 6)) | (character >> shift));
  while ((shift -= 6) >= 0) utf8 += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
  return true;
}

} // namespace Ostrum
