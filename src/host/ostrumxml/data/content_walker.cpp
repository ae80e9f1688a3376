#include "host/ostrumxml/data/content_walker.h"

#include <algorithm>
#include <cassert>

#include "host/ostrumxml/data/references.h"

namespace Ostrum {

bool ContentWalker::Next(Piece& piece) {
  for (;;) {
    while (!current.Next(piece)) {
      if (outer.empty()) return false;
      current = outer.back();
      outer.pop_back();
    }
    if (piece.kind != PieceKind::Reference) return true;
    const auto replacement = data.EntityText(piece.inside);
    if (!replacement) return true;
    outer.push_back(current);
    current = PieceScanner(*replacement);
  }
}

bool HasTagOrUnknownEntity(const DocumentData& data, std::string_view part) {
  std::string text;
  ContentWalker walker(data, part);
  for (Piece piece{}; walker.Next(piece);) {
    if (piece.kind >= PieceKind::StartTag) return true;
    if (piece.kind == PieceKind::Reference && !AppendReference(piece.inside, text)) return true;
  }
  return false;
}

bool TextReader::AppendNext(std::string& text, std::size_t limit) {
  assert(text.size() < limit);
  Piece piece{};
  if (!walker.Next(piece)) return false;
  assert(piece.kind != PieceKind::EndTag || depth > 0); // an entity's text has whole elements
  if (piece.kind == PieceKind::StartTag) ++depth;
  if (piece.kind == PieceKind::EndTag) --depth;
  if (depth > 0) return true;
  if (piece.kind == PieceKind::Reference) AppendReference(piece.inside, text);
  if (piece.kind == PieceKind::Text || piece.kind == PieceKind::CData)
    AppendLiteral(piece.inside, text, limit);
  return true;
}

void TextReader::AppendRest(std::string& text, std::size_t limit) {
  while (text.size() < limit && AppendNext(text, limit)) {
  }
}

// Line endings are normalized only in the file's own text: a carriage return in an entity's text
// comes from a character reference.
void TextReader::AppendLiteral(std::string_view characters, std::string& text,
                               std::size_t limit) const {
  const auto start = static_cast<std::ptrdiff_t>(text.size());
  // Normalization takes at most every other byte.
  characters = characters.substr(0, 2 * std::min(characters.size(), limit - text.size()));
  if (data.IsInFile(data.OffsetOf(characters))) {
    AppendCharacters(characters, text);
  } else {
    text += characters;
  }
  if (source == Source::AttributeValue)
    std::replace_if(text.begin() + start, text.end(), IsWhiteSpace, ' ');
}

} // namespace Ostrum
