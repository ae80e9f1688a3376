#include "edit.h"

#include <algorithm>
#include <cstdint>

#include "host/ostrumxml/data/markup.h"

std::string Indented(std::string_view xml) {
  using Ostrum::PieceKind;
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  std::size_t depth = 0;
  // From this depth on, white space would become part of a text.
  std::size_t inlineDepth = SIZE_MAX;
  auto before = PieceKind::Other;
  Ostrum::PieceScanner scanner(xml);
  for (Ostrum::Piece piece{}; scanner.Next(piece); before = piece.kind) {
    const bool isEnd = piece.kind == PieceKind::EndTag;
    const bool isStart = piece.kind == PieceKind::StartTag || piece.kind == PieceKind::EmptyTag;
    const bool followsText = before == PieceKind::Text || before == PieceKind::Reference;
    const bool followsChild = before == PieceKind::EndTag || before == PieceKind::EmptyTag;
    if (isEnd) --depth;
    if (isStart && followsText) inlineDepth = std::min(inlineDepth, depth);
    const bool startsLine =
        (isStart && depth < inlineDepth) || (isEnd && followsChild && depth + 1 < inlineDepth);
    if (startsLine) text.append("\n").append(2 * depth, ' ');
    if (isEnd && inlineDepth == depth + 1) inlineDepth = SIZE_MAX;
    if (piece.kind == PieceKind::StartTag) ++depth;
    text += piece.text;
  }
  return text + '\n';
}
