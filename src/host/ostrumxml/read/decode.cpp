// From a file's bytes to UTF-8. The byte-order mark decides, then the declaration. Where both speak
// they must agree: a guess would turn into wrong text that nobody notices.
#include "host/ostrumxml/read/decode.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/read/read_failure.h"
#include "platform/encoding_converter.h"

namespace Ostrum {
namespace {

// The UTF-8 form of each character of one encoding. The system's converter is called once for each
// different character instead of for the whole text. That takes half the time, gives the exact
// place of an error, and converts equal bytes equally.
class EncodingTable {
 public:
  // name: in upper case. Throws std::bad_alloc.
  explicit EncodingTable(std::string_view name);

  // False if the encoding is unknown, or not a superset of ASCII.
  bool IsUsable() const noexcept { return usable; }

  // Appends the text to utf8, up to the first invalid byte; returns the number of bytes converted.
  // REQUIRES: IsUsable().
  std::size_t Convert(std::string_view bytes, std::string& utf8);

 private:
  struct Character {
    char utf8[7]; // some convert to two characters
    std::uint8_t length;
  };
  // Values of `length` if there is no character; leading: not complete, but more bytes may complete
  // it.
  static constexpr std::uint8_t notAsked = 0, invalid = 0xFE, leading = 0xFF;

  Character Ask(std::string_view bytes) const noexcept;
  Character Longer(std::string_view text, std::size_t& size);

  const platform::EncodingConverter convert;
  const bool hasControls; // whether the encoding has the characters U+0080 to U+009F
  bool usable;
  Character singles[256];
  std::vector<Character>
      pairs; // indexed by the first byte minus 80 and the second byte; empty until first used
};

// In practice, the names of three encodings stand for supersets of them. The system knows some of
// these names by the encodings proper, some not at all.
std::string SystemName(std::string_view name) {
  constexpr struct {
    std::string_view name, system;
  } supersets[] = {
      {"SHIFT_JIS", "CP932"},   {"SHIFT-JIS", "CP932"},
      {"SJIS", "CP932"},        {"X-SJIS", "CP932"},
      {"MS_KANJI", "CP932"},    {"CSSHIFTJIS", "CP932"},
      {"WINDOWS-31J", "CP932"}, {"CSWINDOWS31J", "CP932"},
      {"MS932", "CP932"},       {"SJIS-WIN", "CP932"},
      {"SJIS-OPEN", "CP932"},   {"GB2312", "GBK"},
      {"CSGB2312", "GBK"},      {"CN-GB", "GBK"},
      {"EUC-CN", "GBK"},        {"EUCCN", "GBK"},
      {"EUC-KR", "CP949"},      {"EUCKR", "CP949"},
      {"CSEUCKR", "CP949"},     {"KS_C_5601-1987", "CP949"},
  };
  for (const auto& superset : supersets) {
    if (superset.name == name) return std::string(superset.system);
  }
  return std::string(name);
}

unsigned char ByteOf(char character) noexcept { return static_cast<unsigned char>(character); }

// TSCII is not supported, because its vowel signs have to change places with the letters after
// them.
EncodingTable::EncodingTable(std::string_view name)
    : convert(platform::OpenEncoding(SystemName(name).c_str())),
      hasControls(name.starts_with("ISO-8859-")),
      usable(convert != nullptr && name != "TSCII") {
  singles[0] = {{'\0'}, 1};
  for (unsigned byte = 1; usable && byte < std::size(singles); ++byte) {
    const char narrow = static_cast<char>(byte);
    singles[byte] = Ask({&narrow, 1});
    if (byte < 0x80) usable = singles[byte].length == 1 && singles[byte].utf8[0] == narrow;
  }
}

EncodingTable::Character EncodingTable::Ask(std::string_view bytes) const noexcept {
  Character character{};
  const std::size_t length = convert(bytes, character.utf8, sizeof character.utf8);
  if (length == 0) return {{}, leading};
  const std::string_view utf8(character.utf8, length);
  const bool control = utf8 >= "\xC2\x80" && utf8 < "\xC2\xA0";
  // Converters give U+F8xx for bytes that Microsoft's code pages leave undefined; U+F8FF is a
  // character of Apple's.
  const bool missing = bytes.size() == 1 && utf8 >= "\xEF\xA0\x80" && utf8 < "\xEF\xA3\xBF";
  if ((control && !hasControls) || missing) return {{}, invalid};
  character.length = static_cast<std::uint8_t>(length);
  return character;
}

// The first character of a text that starts with a leading byte, and its size in bytes.
EncodingTable::Character EncodingTable::Longer(std::string_view text, std::size_t& size) {
  constexpr std::size_t longest = 4;
  assert(ByteOf(text[0]) >= 0x80);
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
  char buffer[4096]; // appending each character separately takes three times as long
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

// The name in upper case, truncated to a length that no encoding's name exceeds.
std::string Folded(std::string_view name) {
  std::string folded(name.substr(0, 40));
  for (char& it : folded) it = it >= 'a' && it <= 'z' ? static_cast<char>(it - 'a' + 'A') : it;
  return folded;
}

// The encoding's name in the text's XML declaration; empty if there is none. A malformed
// declaration is left to the parser.
std::string_view DeclaredEncoding(std::string_view text) {
  constexpr std::string_view opening = "<?xml", key = "encoding";
  constexpr std::string_view allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
  constexpr std::size_t letters = 52;
  if (!text.starts_with(opening) || text.size() == opening.size() ||
      !IsWhiteSpace(text[opening.size()]))
    return {};
  const std::string_view declaration = text.substr(0, text.find("?>"));
  const std::size_t quote = declaration.find_first_of("\"'", declaration.find(key));
  if (quote == std::string_view::npos) return {};
  const std::size_t end =
      std::min(declaration.find_first_not_of(allowed, quote + 1), declaration.size());
  const std::string_view name = declaration.substr(quote + 1, end - quote - 1);
  const bool closes = end < declaration.size() && declaration[end] == declaration[quote];
  const bool startsWithLetter = closes && allowed.find(declaration[quote + 1]) < letters;
  return startsWithLetter ? name : std::string_view();
}

[[noreturn]] void Refuse(const char* reason, std::string_view encoding = {}) {
  throw ReadFailure(ReadBadEncoding, reason + std::string(encoding));
}

// validSize: of the bytes before the first invalid one. Returns if there is none.
void RequireValid(std::string_view bytes, std::size_t validSize, std::string_view encoding) {
  assert(validSize <= bytes.size());
  if (validSize == bytes.size()) return;
  const std::string_view before = bytes.substr(0, validSize);
  const std::size_t lineStart = before.rfind('\n') + 1; // 0 in the first line
  throw ReadFailure(
      ReadBadEncoding,
      "invalid " + std::string(encoding) + " at byte offset " + std::to_string(validSize),
      static_cast<int>(std::ranges::count(before, '\n')) + 1,
      static_cast<int>(validSize - lineStart) + 1);
}

constexpr const char* contradiction =
    "the text is not in the encoding that its declaration names: ";

// bytes: without the byte-order mark. Returns the number of bytes converted; all if they are valid.
std::size_t Utf8FromUtf16(std::string_view bytes, bool bigEndian, std::string& utf8) {
  const auto unitAt = [bytes, bigEndian](std::size_t position) {
    const unsigned first = ByteOf(bytes[position]), second = ByteOf(bytes[position + 1]);
    return char32_t{bigEndian ? first << 8 | second : second << 8 | first};
  };
  utf8.reserve(bytes.size() / 2);
  std::size_t position = 0;
  for (std::size_t size = 2; position + 2 <= bytes.size(); position += size) {
    const char32_t unit = unitAt(position);
    const bool maybePair = unit >= 0xD800 && position + 4 <= bytes.size();
    const char32_t pair = maybePair ? FromSurrogates(unit, unitAt(position + 2)) : 0;
    size = pair != 0 ? 4 : 2;
    if (!AppendUtf8(pair != 0 ? pair : unit, utf8)) break;
  }
  return position;
}

std::string DecodeUtf16(std::string_view bytes, UTF_ENCODINGS& encoding) {
  const bool bigEndian = bytes.front() == '\xFE';
  encoding = bigEndian ? UTF_16B : UTF_16L;
  constexpr std::size_t mark = 2;
  std::string utf8;
  const std::size_t converted = mark + Utf8FromUtf16(bytes.substr(mark), bigEndian, utf8);
  RequireValid(bytes, converted, "UTF-16");
  const std::string_view declared = DeclaredEncoding(utf8);
  const std::string name = Folded(declared);
  if (!name.empty() && name != "UTF-16" && name != (bigEndian ? "UTF-16BE" : "UTF-16LE"))
    Refuse(contradiction, declared);
  if (!declared.empty())
    utf8.replace(static_cast<std::size_t>(declared.data() - utf8.data()), declared.size(), "UTF-8");
  return utf8;
}

std::string DecodeDeclared(std::string_view bytes, std::string_view declared) {
  EncodingTable table(Folded(declared));
  if (!table.IsUsable()) Refuse("unsupported encoding ", declared);
  const auto beyondAscii =
      std::ranges::count_if(bytes, [](char byte) { return ByteOf(byte) >= 0x80; });
  // Most of those become two bytes of UTF-8 each, or three for every two of them.
  std::string utf8;
  utf8.reserve(bytes.size() + static_cast<std::size_t>(beyondAscii));
  const auto name = static_cast<std::size_t>(declared.data() - bytes.data());
  assert(name + declared.size() <= bytes.size());
  std::size_t converted = table.Convert(bytes.substr(0, name), utf8);
  if (converted == name) {
    utf8 += "UTF-8";
    converted += declared.size();
    converted += table.Convert(bytes.substr(converted), utf8);
  }
  RequireValid(bytes, converted, declared);
  return utf8;
}

} // namespace

std::string DecodeFile(std::string bytes, UTF_ENCODINGS& encoding) {
  const std::string_view view = bytes;
  const bool utf16 = view.starts_with("\xFE\xFF") || view.starts_with("\xFF\xFE");
  const std::string_view start = view.substr(utf16 ? 2 : 0, 2);
  if (utf16 ? start == std::string_view("\0\0", 2) : start.find('\0') != std::string_view::npos)
    Refuse("UTF-32, and UTF-16 without a byte-order mark, are not supported");
  if (utf16) return DecodeUtf16(view, encoding);

  const bool marked = view.starts_with(utf8ByteOrderMark);
  const std::string_view declared =
      DeclaredEncoding(view.substr(marked ? utf8ByteOrderMark.size() : 0));
  const std::string name = Folded(declared);
  encoding = name == "US-ASCII" ? US_ASCII : NO_ENCODING;
  if (!name.empty() && name != "UTF-8" && name != "UTF8") {
    if (marked || name.starts_with("UTF-16")) Refuse(contradiction, declared);
    return DecodeDeclared(view, declared);
  }
  encoding = UTF_8;
  return bytes;
}

void RequireUtf8(std::string_view text) { RequireValid(text, ValidUtf8Prefix(text), "UTF-8"); }

} // namespace Ostrum
