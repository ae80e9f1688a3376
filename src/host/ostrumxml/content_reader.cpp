#include "host/ostrumxml/content_reader.h"

#include "host/ostrumxml/references.h"

namespace Ostrum {
namespace {

// Line ends are normalized where the file is read. A carriage return in an entity's text was meant to be one.
void AppendFrom(const Content& content, std::string_view characters, std::string& text, std::size_t limit) {
  if (content.IsInFile(content.OffsetOf(characters))) return AppendCharacters(characters, text, limit);
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
