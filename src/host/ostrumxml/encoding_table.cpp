#include "host/ostrumxml/encoding_table.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace Ostrum {
namespace {

// What everyone writes under these names is the wider encoding.
constexpr struct {
  std::string_view declared, meant;
} widened[] = {
    {"SHIFT_JIS", "CP932"},   {"SJIS", "CP932"}, {"X-SJIS", "CP932"},
    {"WINDOWS-31J", "CP932"}, {"GB2312", "GBK"}, {"EUC-KR", "CP949"},
};

std::string SystemName(std::string_view name) {
  const auto* const it =
      std::find_if(std::begin(widened), std::end(widened), [name](const auto& each) { return each.declared == name; });
  return std::string(it != std::end(widened) ? it->meant : name);
}

unsigned char ByteOf(char character) noexcept { return static_cast<unsigned char>(character); }

} // namespace

// TSCII is no encoding of characters: its vowel signs change places with the letters behind them.
EncodingTable::EncodingTable(std::string_view name)
    : converter(SystemName(name).c_str()),
      hasControls(name.starts_with("ISO-8859-")),
      usable(converter.IsKnown() && name != "TSCII") {
  singles[0] = {{'\0'}, 1};
  for (unsigned byte = 1; usable && byte < std::size(singles); ++byte) {
    const char narrow = static_cast<char>(byte);
    singles[byte] = Ask({&narrow, 1});
    if (byte < 0x80) usable = singles[byte].length == 1 && singles[byte].utf8[0] == narrow;
    if (usable && singles[byte].length == leading && !pairs)
      pairs = std::make_unique<Character[]>(std::size_t{0x80} << 8);
  }
}

EncodingTable::Character EncodingTable::Ask(std::string_view bytes) const noexcept {
  Character character{};
  const std::size_t length = converter.Convert(bytes, character.utf8, sizeof character.utf8);
  if (length == 0) return {{}, leading};
  const std::string_view utf8(character.utf8, length);
  const bool control = utf8 >= "\xC2\x80" && utf8 < "\xC2\xA0";
  // Converters give U+F8xx where Microsoft's code pages have no character; U+F8FF is one of Apple's.
  const bool missing = bytes.size() == 1 && utf8 >= "\xEF\xA0\x80" && utf8 < "\xEF\xA3\xBF";
  if ((control && !hasControls) || missing) return {{}, invalid};
  character.length = static_cast<std::uint8_t>(length);
  return character;
}

// The character at the start of the text, which begins with a leading byte, and how many bytes it takes.
const EncodingTable::Character& EncodingTable::Longer(std::string_view text, std::size_t& size) noexcept {
  constexpr std::size_t longest = 4;
  const Character* character = &singles[ByteOf(text[0])];
  for (size = 1; character->length == leading && size < std::min(longest, text.size());) {
    ++size;
    Character& kept = size == 2 ? pairs[(ByteOf(text[0]) - 0x80U) << 8 | ByteOf(text[1])] : longer;
    if (size > 2 || kept.length == notAsked) kept = Ask(text.substr(0, size));
    character = &kept;
  }
  return *character;
}

std::size_t EncodingTable::Convert(std::string_view bytes, std::string& utf8) {
  assert(usable);
  constexpr std::size_t step = sizeof(std::uint64_t); // bytes looked at together
  char buffer[4096];
  std::size_t position = 0, filled = 0;
  bool valid = true;
  while (valid && position < bytes.size()) {
    std::uint64_t word = ~std::uint64_t{0};
    if (bytes.size() - position >= step) std::memcpy(&word, bytes.data() + position, step);
    const std::size_t end = std::min(position + step, bytes.size());
    if ((word & 0x8080808080808080U) == 0) {
      std::memcpy(buffer + filled, &word, step);
      filled += step;
      position += step;
    }
    while (position < end) {
      std::size_t size = 1;
      const Character* character = &singles[ByteOf(bytes[position])];
      if (character->length == leading) character = &Longer(bytes.substr(position), size);
      valid = character->length <= sizeof character->utf8;
      if (!valid) break;
      std::memcpy(buffer + filled, character, sizeof *character);
      filled += character->length;
      position += size;
    }
    if (filled > sizeof buffer - step * sizeof(Character) || !valid || position == bytes.size()) {
      utf8.append(buffer, filled);
      filled = 0;
    }
  }
  return position;
}

} // namespace Ostrum
