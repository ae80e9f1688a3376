#include "host/ostrumxml/references.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

// The entities that every document has.
struct Entity {
  std::string_view name;
  char character;
};
constexpr Entity predefined[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

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
    escaped.append("&").append(isNamed ? std::string(entity->name) : "#" + std::to_string(character)).append(";");
    text.remove_prefix(plain + 1);
  }
}

// Line ends are normalized where the file is read. A carriage return in an entity's text was meant to be one.
void AppendFrom(const Content& content, std::string_view characters, std::string& text, std::size_t limit) {
  if (content.IsInFile(content.OffsetOf(characters))) return AppendCharacters(characters, text, limit);
  text += characters.substr(0, limit - text.size());
}

} // namespace

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

bool AppendReference(std::string_view reference, std::string& text) {
  const std::string_view name = ReferenceName(reference);
  if (name.front() == '#') {
    AppendUtf8(CharacterOf(reference), text);
    return true;
  }
  const auto* const entity = std::ranges::find(predefined, name, &Entity::name);
  if (entity == std::end(predefined)) return false;
  text += entity->character;
  return true;
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
    const auto replacement = content.EntityText(ReferenceName(piece.text));
    if (!replacement) return true;
    outer.push_back(current);
    current = PieceScanner(*replacement);
  }
}

void AppendOwnText(const Content& content, std::string_view stretch, std::string& text, std::size_t limit) {
  ContentWalker walker(content, stretch);
  Piece piece{};
  std::size_t depth = 0;
  while (text.size() < limit && walker.Next(piece)) {
    if (piece.kind == PieceKind::StartTag) ++depth;
    if (piece.kind == PieceKind::EndTag) --depth;
    if (depth > 0) continue;
    if (piece.kind == PieceKind::Text) AppendFrom(content, piece.text, text, limit);
    if (piece.kind == PieceKind::CData) AppendFrom(content, InsideCData(piece.text), text, limit);
    if (piece.kind == PieceKind::Reference) AppendReference(piece.text, text);
  }
}

void AppendAttributeValue(const Content& content, std::string_view raw, std::string& value, std::size_t limit) {
  std::vector<std::string_view> outer; // that wait for the end of an entity, the innermost last
  while (value.size() < limit) {
    if (raw.empty()) {
      if (outer.empty()) return;
      raw = outer.back();
      outer.pop_back();
      continue;
    }
    if (raw.front() != '&') {
      const bool isLineEnd = raw.starts_with("\r\n") && content.IsInFile(content.OffsetOf(raw));
      if (isLineEnd) raw.remove_prefix(1);
      value += IsBlank(raw.front()) ? ' ' : raw.front();
      raw.remove_prefix(1);
      continue;
    }
    const std::string_view reference = raw.substr(0, raw.find(';') + 1);
    raw.remove_prefix(reference.size());
    if (const auto replacement = content.EntityText(ReferenceName(reference))) {
      outer.push_back(raw);
      raw = *replacement;
    } else {
      AppendReference(reference, value);
    }
  }
}

} // namespace Ostrum
