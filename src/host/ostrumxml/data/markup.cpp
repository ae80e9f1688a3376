#include "host/ostrumxml/data/markup.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "host/ostrumxml/data/byte_scan.h"

namespace Ostrum {
namespace {

// What a piece begins and ends with. The first whose beginning fits is taken; tags and text end
// otherwise.
struct Delimited {
  PieceKind kind;
  std::string_view opening, closing;
};
constexpr Delimited forms[] = {
    {PieceKind::Reference, "&", ";"},  {PieceKind::CData, "<![CDATA[", "]]>"},
    {PieceKind::Other, "<!--", "-->"}, {PieceKind::Other, "<?", "?>"},
    {PieceKind::EndTag, "</", ">"},    {PieceKind::StartTag, "<", ""},
    {PieceKind::Text, "", ""}};

// The maximum size of a piece of text in bytes, so that reading the beginning of a long text does
// not process all of it.
constexpr std::size_t maxTextPiece = 4096;

void SkipWhiteSpace(std::string_view& text) noexcept {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
}

std::size_t TextLength(std::string_view rest) noexcept {
  const std::size_t length = LengthBefore(rest.substr(0, maxTextPiece),
                                          [](auto byte) { return (byte == '<') | (byte == '&'); });
  // Does not split "\r\n".
  if (length == maxTextPiece && rest[length - 1] == '\r') return length - 1;
  return length;
}

// The length of the tag at the start of the text, from "<" to ">".
std::size_t TagLength(std::string_view text) noexcept {
  TagScanner scanner(text.substr(text.find_first_of(" \t\r\n/>")));
  RawAttribute attribute{};
  while (scanner.Next(attribute)) {
  }
  return text.find('>', text.size() - scanner.Rest().size()) + 1;
}

} // namespace

// Every value read is checked here: one byte at a step, listing files would take a third longer.
bool NeedsNoDecoding(std::string_view raw) noexcept {
  const auto needsDecoding = [](auto byte) { return (byte < ' ') | (byte == '&') | (byte == '<'); };
  return LengthBefore(raw, needsDecoding) == raw.size();
}

bool TagScanner::Next(RawAttribute& attribute) noexcept {
  std::string_view ahead = rest;
  SkipWhiteSpace(ahead);
  assert(!ahead.empty());
  if (ahead.front() == '>' || ahead.front() == '/') return false;

  std::size_t length = 0;
  while (ahead[length] != '=' && !IsWhiteSpace(ahead[length])) ++length;
  attribute.name = ahead.substr(0, length);
  ahead.remove_prefix(length);
  SkipWhiteSpace(ahead);
  assert(ahead.front() == '=');
  ahead.remove_prefix(1);
  SkipWhiteSpace(ahead);
  assert(ahead.front() == '"' || ahead.front() == '\'');
  const std::size_t closing = ahead.find(ahead.front(), 1);
  attribute.value = ahead.substr(1, closing - 1);
  rest = ahead.substr(closing + 1);
  return true;
}

bool PieceScanner::Next(Piece& piece) noexcept {
  if (rest.empty()) return false;
  const Delimited& form = *std::ranges::find_if(
      forms, [this](const Delimited& each) { return rest.starts_with(each.opening); });
  std::size_t length = rest.find(form.closing, form.opening.size()) + form.closing.size();
  if (form.kind == PieceKind::StartTag) length = TagLength(rest);
  if (form.kind == PieceKind::Text) length = TextLength(rest);
  const std::size_t delimiters = form.opening.size() + form.closing.size();
  assert(length > 0 && length >= delimiters && length <= rest.size());
  piece = {form.kind, rest.substr(0, length),
           rest.substr(form.opening.size(), length - delimiters)};
  const bool isEmptyTag = form.kind == PieceKind::StartTag && rest[length - 2] == '/';
  if (isEmptyTag) piece.kind = PieceKind::EmptyTag;
  rest.remove_prefix(length);
  return true;
}

} // namespace Ostrum
