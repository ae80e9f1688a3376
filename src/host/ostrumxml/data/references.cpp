#include "host/ostrumxml/data/references.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <new>
#include <string>

#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/read/expat_parser.h"

namespace Ostrum {
namespace {

// The entities that XML predefines.
struct Entity {
  std::string_view name;
  char character;
};
constexpr Entity predefined[] = {
    {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

std::string Escape(std::string_view text, std::string_view special) {
  std::string escaped;
  escaped.reserve(text.size());
  for (;;) {
    const std::size_t plain = text.find_first_of(special);
    escaped += text.substr(0, plain);
    if (plain == std::string_view::npos) return escaped;
    const char character = text[plain];
    const auto* const entity = std::ranges::find(predefined, character, &Entity::character);
    const bool isNamed = entity != std::end(predefined);
    escaped.append("&")
        .append(isNamed ? std::string(entity->name) : "#" + std::to_string(character))
        .append(";");
    text.remove_prefix(plain + 1);
  }
}

// Line ends are normalized only in the file's own text: a carriage return in an entity's text comes
// from a character reference.
void AppendFrom(const DocumentData& data, std::string_view characters, std::string& text,
                std::size_t limit) {
  if (data.IsInFile(data.OffsetOf(characters))) return AppendCharacters(characters, text, limit);
  text += characters.substr(0, limit - text.size());
}

bool MayBeInName(char character) {
  return !IsAscii({&character, 1}) || nameStarts.find(character) != std::string_view::npos ||
         otherNameCharacters.find(character) != std::string_view::npos;
}

} // namespace

bool IsPredefined(std::string_view entityName) noexcept {
  return std::ranges::find(predefined, entityName, &Entity::name) != std::end(predefined);
}

bool IsXmlName(std::string_view text) {
  if (text.empty() || !std::ranges::all_of(text, MayBeInName)) return false;
  if (IsAscii(text)) return nameStarts.find(text.front()) != std::string_view::npos;
  // The parser decides on characters beyond ASCII, since it must read the name again.
  ExpatParser parser;
  const bool isName = parser.Feed("<" + std::string(text) + "/>", true) == XML_STATUS_OK;
  if (!isName && XML_GetErrorCode(parser.Get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return isName;
}

bool IsXmlText(std::string_view text) noexcept {
  const auto isControl = [](char unit) {
    const auto byte = static_cast<unsigned char>(unit);
    return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
  };
  if (std::any_of(text.begin(), text.end(), isControl)) return false;
  if (IsAscii(text)) return true;
  return IsUtf8(text) && text.find("\xEF\xBF\xBE") == text.npos &&
         text.find("\xEF\xBF\xBF") == text.npos; // U+FFFE, U+FFFF
}

std::string_view ReferenceName(std::string_view reference) noexcept {
  assert(reference.size() > 2 && reference.front() == '&' && reference.back() == ';');
  return reference.substr(1, reference.size() - 2);
}

char32_t CharacterOf(std::string_view reference) noexcept {
  std::string_view digits = ReferenceName(reference).substr(1);
  const bool hexadecimal = digits.starts_with('x');
  if (hexadecimal) digits.remove_prefix(1);
  std::uint32_t character = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), character, hexadecimal ? 16 : 10);
  return character;
}

void AppendCharacters(std::string_view raw, std::string& text, std::size_t limit) {
  while (!raw.empty() && text.size() < limit) {
    const std::string_view part = raw.substr(0, limit - text.size());
    const std::size_t lineEnd = part.find('\r');
    text += part.substr(0, lineEnd);
    raw.remove_prefix(std::min(lineEnd, part.size()));
    if (lineEnd == std::string_view::npos) continue;
    text += '\n';
    raw.remove_prefix(raw.starts_with("\r\n") ? 2 : 1);
  }
}

void AppendReference(std::string_view reference, std::string& text) {
  const std::string_view name = ReferenceName(reference);
  const auto* const entity = std::ranges::find(predefined, name, &Entity::name);
  if (name.front() == '#') {
    AppendUtf8(CharacterOf(reference), text);
  } else if (entity != std::end(predefined)) {
    text += entity->character;
  }
}

std::string FoldBlanks(std::string_view value) {
  std::string folded;
  folded.reserve(value.size());
  for (const char character : value) {
    if (character == ' ' && (folded.empty() || folded.back() == ' ')) continue;
    folded += character;
  }
  if (!folded.empty() && folded.back() == ' ') folded.pop_back();
  return folded;
}

std::string EscapeText(std::string_view text) { return Escape(text, "&<>\r"); }

std::string EscapeAttribute(std::string_view value, char quote) {
  return Escape(value, quote == '"' ? "&<\"\t\n\r" : "&<'\t\n\r");
}

bool ContentWalker::Next(Piece& piece) {
  for (;;) {
    while (!current.Next(piece)) {
      if (outer.empty()) return false;
      current = outer.back();
      outer.pop_back();
    }
    if (piece.kind != PieceKind::Reference) return true;
    const auto replacement = data.EntityText(ReferenceName(piece.text));
    if (!replacement) return true;
    outer.push_back(current);
    current = PieceScanner(*replacement);
  }
}

void AppendOwnText(const DocumentData& data, std::string_view stretch, std::string& text,
                   std::size_t limit) {
  ContentWalker walker(data, stretch);
  Piece piece{};
  std::size_t depth = 0;
  while (text.size() < limit && walker.Next(piece)) {
    if (piece.kind == PieceKind::StartTag) ++depth;
    if (piece.kind == PieceKind::EndTag) --depth;
    if (depth > 0) continue;
    if (piece.kind == PieceKind::Text) AppendFrom(data, piece.text, text, limit);
    if (piece.kind == PieceKind::CData) AppendFrom(data, InsideCData(piece.text), text, limit);
    if (piece.kind == PieceKind::Reference) AppendReference(piece.text, text);
  }
}

void AppendAttributeValue(const DocumentData& data, std::string_view raw, std::string& value,
                          std::size_t limit) {
  ContentWalker walker(data, raw);
  Piece piece{};
  while (value.size() < limit && walker.Next(piece)) {
    if (piece.kind == PieceKind::Reference) {
      AppendReference(piece.text, value);
    } else {
      const auto start = static_cast<std::ptrdiff_t>(value.size());
      AppendFrom(data, piece.text, value, limit);
      std::replace_if(value.begin() + start, value.end(), IsBlank, ' ');
    }
  }
}

} // namespace Ostrum
