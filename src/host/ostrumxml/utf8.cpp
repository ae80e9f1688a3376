#include "host/ostrumxml/utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Ostrum {
namespace {

constexpr bool wideIsUtf16 = sizeof(wchar_t) == 2;

bool IsContinuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

// Bytes of plain ASCII at the start of the text, in steps of 32 while that goes.
std::size_t AsciiPrefix(std::string_view text) {
  std::size_t length = 0;
  std::uint64_t words[4];
  while (length + sizeof words <= text.size()) {
    std::memcpy(words, text.data() + length, sizeof words);
    if (((words[0] | words[1] | words[2] | words[3]) & 0x8080808080808080U) != 0) break;
    length += sizeof words;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80U) ++length;
  return length;
}

struct Sequence {
  char32_t character;
  std::size_t length; // in bytes; 0 when the bytes are no valid sequence
};

// The sequence at the start of a text that does not begin with ASCII.
Sequence DecodeSequence(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
  if (lead < 0xC2U || lead > 0xF4U || text.size() < length) return {0, 0};
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (!IsContinuation(byte)) return {0, 0};
    character = (character << 6) | (byte & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (overlong || surrogate || character > 0x10FFFF) return {0, 0};
  return {character, length};
}

void AppendWide(char32_t character, std::wstring& wide) {
  if (!wideIsUtf16 || character <= 0xFFFF) {
    wide += static_cast<wchar_t>(character);
    return;
  }
  const char32_t offset = character - 0x10000;
  wide += static_cast<wchar_t>(0xD800 + (offset >> 10));
  wide += static_cast<wchar_t>(0xDC00 + (offset & 0x3FF));
}

// Bytes that are compared all at once.
using Bytes = unsigned char __attribute__((vector_size(16)));
constexpr std::size_t reach = 3; // so far before it does a byte's validity depend on others

// Judges as many bytes from `block` on, each by itself and the three before it.
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

bool IsAscii(std::string_view text) noexcept {
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  std::uint64_t word = 0;
  if (text.size() >= 64) text.remove_prefix(AsciiPrefix(text));
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    if ((word & highBits) != 0) return false;
  }
  word = 0;
  if (!text.empty()) std::memcpy(&word, text.data(), text.size());
  return (word & highBits) == 0;
}

std::size_t ValidUtf8Prefix(std::string_view text) noexcept {
  std::size_t position = AsciiPrefix(text);
  if (position == text.size()) return position;
  // A sequence that the end cuts shows in the zeros behind it.
  for (bool valid = true; valid && position < text.size() + reach;) {
    if (position >= reach) position += std::max(AsciiPrefix(text.substr(position - reach)), reach) - reach;
    const std::size_t before = std::min(reach, position);
    char copy[reach + sizeof(Bytes)] = {};
    const bool inside = before == reach && position + sizeof(Bytes) <= text.size();
    if (!inside) text.copy(copy + reach - before, before + sizeof(Bytes), position - before);
    valid = IsValidBlock(inside ? text.data() + position : copy + reach);
    position = valid ? position + sizeof(Bytes) : position - before;
  }
  // One sequence in a block that is not valid, or one that reaches into it, is not.
  const auto continues = [text](std::size_t at) { return IsContinuation(static_cast<unsigned char>(text[at])); };
  while (position > 0 && position < text.size() && continues(position)) --position;
  for (std::size_t length = 1; length > 0 && position < text.size(); position += length) {
    position += AsciiPrefix(text.substr(position));
    length = position < text.size() ? DecodeSequence(text.substr(position)).length : 0;
  }
  return std::min(position, text.size());
}

std::wstring WideFromUtf8(std::string_view utf8) {
  std::wstring wide(utf8.begin(), utf8.begin() + static_cast<std::ptrdiff_t>(AsciiPrefix(utf8)));
  utf8.remove_prefix(wide.size());
  while (!utf8.empty()) {
    const std::size_t ascii = AsciiPrefix(utf8);
    wide.append(utf8.begin(), utf8.begin() + static_cast<std::ptrdiff_t>(ascii));
    utf8.remove_prefix(ascii);
    if (utf8.empty()) break;
    const Sequence sequence = DecodeSequence(utf8);
    AppendWide(sequence.character, wide);
    utf8.remove_prefix(sequence.length);
  }
  return wide;
}

bool Utf8FromWide(std::wstring_view wide, std::string& utf8) {
  utf8.clear();
  utf8.reserve(wide.size());
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto character = static_cast<char32_t>(wide[i]);
    if constexpr (wideIsUtf16) {
      const bool paired = character >= 0xD800 && character <= 0xDBFF && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 &&
                          wide[i + 1] <= 0xDFFF;
      if (paired) {
        character = 0x10000 + ((character - 0xD800) << 10) + (static_cast<char32_t>(wide[i + 1]) - 0xDC00);
        ++i;
      }
    }
    if ((character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF) return false;
    AppendUtf8(character, utf8);
  }
  return true;
}

void AppendUtf8(char32_t character, std::string& utf8) {
  if (character < 0x80) {
    utf8 += static_cast<char>(character);
    return;
  }
  if (character < 0x800) {
    utf8 += static_cast<char>(0xC0 | (character >> 6));
  } else if (character < 0x10000) {
    utf8 += static_cast<char>(0xE0 | (character >> 12));
    utf8 += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
  } else {
    utf8 += static_cast<char>(0xF0 | (character >> 18));
    utf8 += static_cast<char>(0x80 | ((character >> 12) & 0x3F));
    utf8 += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
  }
  utf8 += static_cast<char>(0x80 | (character & 0x3F));
}

} // namespace Ostrum
