#include "host/ostrumxml/data/markup.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <iterator>

#include "host/ostrumxml/data/byte_scan.h"

namespace Ostrum {
namespace {

// The pieces that are recognized by their first characters and end with a fixed string.
struct Delimited {
  PieceKind kind;
  std::string_view opening, closing;
};
constexpr Delimited delimitedPieces[] = {{PieceKind::Reference, "&", ";"},
                                         {PieceKind::CData, "<![CDATA[", "]]>"},
                                         {PieceKind::Other, "<!--", "-->"},
                                         {PieceKind::Other, "<?", "?>"},
                                         {PieceKind::EndTag, "</", ">"}};

// The maximum size of a piece of text in bytes, so that reading the beginning of a long text does
// not process all of it.
constexpr std::size_t maxTextPiece = 4096;

void SkipWhiteSpace(std::string_view& text) noexcept {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
}

std::size_t TextLength(std::string_view rest) noexcept {
  const std::string_view ahead = rest.substr(0, maxTextPiece);
  const std::string_view text = ahead.substr(0, ahead.find('<'));
  const std::size_t length = std::min(text.size(), text.find('&'));
  if (length < ahead.size()) return length;
  // Does not split "\r\n".
  if (rest.size() > ahead.size() && ahead.back() == '\r') return ahead.size() - 1;
  return ahead.size();
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
  Delimited form{PieceKind::Text, "", ""};
  std::size_t length = 0;
  const auto isNext = [this](const Delimited& each) { return rest.starts_with(each.opening); };
  if (rest.front() != '&' && rest.front() != '<') {
    length = TextLength(rest);
  } else if (const auto* const found = std::ranges::find_if(delimitedPieces, isNext);
             found != std::end(delimitedPieces)) {
    form = *found;
    length = rest.find(form.closing, form.opening.size()) + form.closing.size();
  } else {
    length = TagLength(rest);
    form.kind = PieceKind::StartTag;
    if (rest[length - 2] == '/') form.kind = PieceKind::EmptyTag;
  }
  const std::size_t delimiters = form.opening.size() + form.closing.size();
  assert(length > 0 && length >= delimiters && length <= rest.size());
  piece = {form.kind, rest.substr(0, length),
           rest.substr(form.opening.size(), length - delimiters)};
  rest.remove_prefix(length);
  return true;
}

} // namespace Ostrum
