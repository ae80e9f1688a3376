#include "host/ostrumxml/data/content_walker.h"

#include <algorithm>

#include "host/ostrumxml/data/references.h"

namespace Ostrum {
namespace {

// Line endings are normalized only in the file's own text: a carriage return in an entity's text
// comes from a character reference.
void AppendFrom(const DocumentData& data, std::string_view characters, std::string& text,
                std::size_t limit) {
  if (data.IsInFile(data.OffsetOf(characters))) return AppendCharacters(characters, text, limit);
  text += characters.substr(0, limit - text.size());
}

} // namespace

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

bool IsUnknownReference(const Piece& piece) noexcept {
  if (piece.kind != PieceKind::Reference) return false;
  const std::string_view name = ReferenceName(piece.text);
  return !name.starts_with('#') && !IsPredefined(name);
}

bool HasUnknownReference(const DocumentData& data, std::string_view part) {
  if (part.find('&') == std::string_view::npos) return false;
  ContentWalker walker(data, part);
  Piece piece{};
  bool isFound = false;
  while (!isFound && walker.Next(piece)) isFound = IsUnknownReference(piece);
  return isFound;
}

bool OwnTextReader::AppendNext(std::string& text, std::size_t limit) {
  Piece piece{};
  if (!walker.Next(piece)) return false;
  if (piece.kind == PieceKind::StartTag) ++depth;
  if (piece.kind == PieceKind::EndTag) --depth;
  if (depth > 0) return true;
  if (piece.kind == PieceKind::Text) AppendFrom(data, piece.text, text, limit);
  if (piece.kind == PieceKind::CData) AppendFrom(data, InsideCData(piece.text), text, limit);
  if (piece.kind == PieceKind::Reference) AppendReference(piece.text, text);
  return true;
}

void AppendOwnText(const DocumentData& data, std::string_view stretch, std::string& text,
                   std::size_t limit) {
  OwnTextReader reader(data, stretch);
  while (text.size() < limit && reader.AppendNext(text, limit)) {
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
      std::replace_if(value.begin() + start, value.end(), IsWhiteSpace, ' ');
    }
  }
}

} // namespace Ostrum
