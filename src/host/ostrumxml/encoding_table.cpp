#include "host/ostrumxml/encoding_table.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace Ostrum {
namespace {

// What everyone writes under these names is a wider encoding.
std::string SystemName(std::string_view name) {
  if (name == "SHIFT_JIS" || name == "SJIS" || name == "X-SJIS" || name == "WINDOWS-31J") return "CP932";
  if (name == "GB2312") return "GBK";
  return std::string(name == "EUC-KR" ? "CP949" : name);
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
EncodingTable::Character EncodingTable::Longer(std::string_view text, std::size_t& size) {
  constexpr std::size_t longest = 4;
  if (text.size() < 2) return {{}, invalid};
  if (pairs.empty()) pairs.resize(std::size_t{0x80} << 8);
  Character& pair = pairs[(ByteOf(text[0]) - 0x80U) << 8 | ByteOf(text[1])];
  if (pair.length == notAsked) pair = Ask(text.substr(0, 2));
  Character character = pair;
  for (size = 2; character.length == leading && size < std::min(longest, text.size());) {
    character = Ask(text.substr(0, ++size));
  }
  return character;
}

std::size_t EncodingTable::Convert(std::string_view bytes, std::string& utf8) {
  assert(usable);
  char buffer[4096]; // one append for each character would take three times as long
  std::size_t filled = 0, position = 0;
  for (std::size_t size = 1; position < bytes.size(); position += size) {
    size = 1;
    Character character = singles[ByteOf(bytes[position])];
    if (character.length == leading) character = Longer(bytes.substr(position), size);
    if (character.length > sizeof character.utf8) break;
    std::memcpy(buffer + filled, &character, sizeof character);
    filled += character.length;
    if (filled <= sizeof buffer - sizeof character) continue;
    utf8.append(buffer, filled);
    filled = 0;
  }
  utf8.append(buffer, filled);
  return position;
}

} // namespace Ostrum
