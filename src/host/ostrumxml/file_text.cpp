#include "host/ostrumxml/file_text.h"

#include <algorithm>
#include <string_view>

#include "host/ostrumxml/markup.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
  const auto lower = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
  };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [lower](char a, char b) { return lower(a) == lower(b); });
}

// The name of the encoding in the XML declaration of the text; empty when there is none. What is no declaration is left to
// the parser to judge.
std::string_view DeclaredEncoding(std::string_view text) {
  constexpr std::string_view opening = "<?xml";
  if (!text.starts_with(opening) || text.size() == opening.size() || !IsBlank(text[opening.size()])) return {};
  std::string_view declaration = text.substr(0, text.find("?>"));
  const std::size_t key = declaration.find("encoding");
  if (key == std::string_view::npos) return {};
  declaration.remove_prefix(key + std::string_view("encoding").size());
  const std::size_t quote = declaration.find_first_of("\"'");
  if (quote == std::string_view::npos) return {};
  const std::size_t closing = declaration.find(declaration[quote], quote + 1);
  if (closing == std::string_view::npos) return {};
  return declaration.substr(quote + 1, closing - quote - 1);
}

// The text goes on in UTF-8, so that is what it must say of itself.
void DeclareUtf8(std::string& text, std::string_view declared) {
  if (declared.empty() || EqualsIgnoringCase(declared, "UTF-8")) return;
  text.replace(static_cast<std::size_t>(declared.data() - text.data()), declared.size(), "UTF-8");
}

std::string Utf8FromLatin1(std::string_view bytes) {
  std::string utf8;
  utf8.reserve(bytes.size() + bytes.size() / 8);
  for (const char byte : bytes) AppendUtf8(static_cast<unsigned char>(byte), utf8);
  return utf8;
}

// The bytes come without their byte-order mark.
bool Utf8FromUtf16(std::string_view bytes, bool bigEndian, std::string& utf8) {
  if (bytes.size() % 2 != 0) return false;
  const auto unitAt = [bytes, bigEndian](std::size_t position) {
    const auto first = static_cast<unsigned char>(bytes[position]);
    const auto second = static_cast<unsigned char>(bytes[position + 1]);
    return static_cast<char32_t>(bigEndian ? first << 8 | second : second << 8 | first);
  };
  utf8.reserve(bytes.size() / 2);
  for (std::size_t position = 0; position < bytes.size(); position += 2) {
    char32_t character = unitAt(position);
    if (character >= 0xDC00 && character <= 0xDFFF) return false;
    if (character >= 0xD800 && character <= 0xDBFF) {
      position += 2;
      if (position == bytes.size()) return false;
      const char32_t low = unitAt(position);
      if (low < 0xDC00 || low > 0xDFFF) return false;
      character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
    }
    AppendUtf8(character, utf8);
  }
  return true;
}

bool DecodeUtf16(std::string_view bytes, std::string& text, UTF_ENCODINGS& encoding) {
  const bool bigEndian = bytes.front() == '\xFE';
  const std::string_view units = bytes.substr(2);
  // A zero unit right behind the mark belongs to a four-byte encoding.
  if (units.size() >= 2 && units[0] == '\0' && units[1] == '\0') return false;
  std::string utf8;
  if (!Utf8FromUtf16(units, bigEndian, utf8)) return false;
  const std::string_view declared = DeclaredEncoding(utf8);
  const bool agrees = declared.empty() || EqualsIgnoringCase(declared, "UTF-16") ||
                      EqualsIgnoringCase(declared, bigEndian ? "UTF-16BE" : "UTF-16LE");
  if (!agrees) return false;
  DeclareUtf8(utf8, declared);
  text = std::move(utf8);
  encoding = bigEndian ? UTF_16B : UTF_16L;
  return true;
}

// Text of an encoding in which ASCII stands for itself, one byte a character.
bool DecodeBytes(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding) {
  const bool marked = bytes.starts_with(utf8ByteOrderMark);
  const std::string_view declared =
      DeclaredEncoding(std::string_view(bytes).substr(marked ? utf8ByteOrderMark.size() : 0));
  encoding = UTF_8;
  if (!declared.empty() && !EqualsIgnoringCase(declared, "UTF-8")) {
    if (marked) return false;
    if (EqualsIgnoringCase(declared, "US-ASCII")) {
      encoding = US_ASCII;
    } else if (EqualsIgnoringCase(declared, "ISO-8859-1")) {
      encoding = NO_ENCODING;
    } else {
      return false;
    }
  }
  if (encoding == NO_ENCODING) bytes = Utf8FromLatin1(bytes);
  if (encoding == US_ASCII ? !IsAscii(bytes) : !IsUtf8(bytes)) return false;
  if (encoding != UTF_8) DeclareUtf8(bytes, DeclaredEncoding(bytes));
  text = std::move(bytes);
  return true;
}

bool LooksLikeUnmarkedUtf16(std::string_view bytes) {
  return bytes.size() >= 2 && (bytes[0] == '\0' || bytes[1] == '\0');
}

} // namespace

bool DecodeFile(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding) {
  const std::string_view view = bytes;
  if (view.starts_with("\xFE\xFF") || view.starts_with("\xFF\xFE")) return DecodeUtf16(view, text, encoding);
  if (LooksLikeUnmarkedUtf16(view)) return false;
  return DecodeBytes(std::move(bytes), text, encoding);
}

} // namespace Ostrum
