#include "host/ostrumxml/data/markup.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace Ostrum {
namespace {

constexpr std::uint64_t eachByte = 0x0101010101010101U;
constexpr std::uint64_t highBits = 0x80 * eachByte;

// Nonzero if one of the eight bytes is a control character, "&" or "<"; bytes beyond ASCII need no
// decoding. Every value read is checked here: with a loop over bytes, listing files takes a third
// longer.
std::uint64_t BytesToDecode(std::uint64_t bytes) noexcept {
  const auto hasZero = [](std::uint64_t word) { return (word - eachByte) & ~word; };
  const std::uint64_t control = (bytes - 0x20 * eachByte) & ~bytes;
  return (control | hasZero(bytes ^ '&' * eachByte) | hasZero(bytes ^ '<' * eachByte)) & highBits;
}

constexpr std::string_view cdataOpening = "<![CDATA[";
constexpr std::string_view cdataClosing = "]]>";

// The pieces that are recognized by their first characters and end with a fixed string.
struct Delimited {
  PieceKind kind;
  std::string_view opening, closing;
};
constexpr Delimited delimitedPieces[] = {{PieceKind::Reference, "&", ";"},
                                         {PieceKind::CData, cdataOpening, cdataClosing},
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
  const std::size_t name = TagName(text).size();
  TagScanner scanner(text.substr(1 + name));
  RawAttribute attribute{};
  while (scanner.Next(attribute)) {
  }
  return text.find('>', text.size() - scanner.Rest().size()) + 1;
}

} // namespace

bool NeedsNoDecoding(std::string_view raw) noexcept {
  std::uint64_t word = 0;
  if (raw.size() < sizeof word) {
    return std::all_of(raw.begin(), raw.end(), [](char character) {
      return static_cast<unsigned char>(character) >= ' ' && character != '&' && character != '<';
    });
  }
  const char* const last = raw.data() + raw.size() - sizeof word;
  for (const char* next = raw.data();; next = std::min(next + sizeof word, last)) {
    std::memcpy(&word, next, sizeof word);
    if (BytesToDecode(word) != 0) return false;
    if (next == last) return true;
  }
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

TagIndex::TagIndex(std::string_view tag) : tag(tag) {
  TagScanner scanner(tag);
  RawAttribute attribute{};
  while (scanner.Next(attribute))
    offsets.push_back(static_cast<std::uint32_t>(attribute.name.data() - tag.data()));
  std::ranges::sort(offsets, {}, [this](std::uint32_t offset) { return At(offset).name; });
}

RawAttribute TagIndex::Find(std::string_view name) const noexcept {
  const auto nameAt = [this](std::uint32_t offset) { return At(offset).name; };
  const auto place = std::ranges::lower_bound(offsets, name, {}, nameAt);
  if (place == offsets.end() || nameAt(*place) != name) return {};
  return At(*place);
}

RawAttribute TagIndex::At(std::uint32_t offset) const noexcept {
  RawAttribute attribute{};
  TagScanner(tag.substr(offset)).Next(attribute);
  return attribute;
}

bool PieceScanner::Next(Piece& piece) noexcept {
  if (rest.empty()) return false;
  std::size_t length = 0;
  const auto isNext = [this](const Delimited& each) { return rest.starts_with(each.opening); };
  if (rest.front() != '&' && rest.front() != '<') {
    piece.kind = PieceKind::Text;
    length = TextLength(rest);
  } else if (const auto* form = std::ranges::find_if(delimitedPieces, isNext);
             form != std::end(delimitedPieces)) {
    piece.kind = form->kind;
    length = rest.find(form->closing, form->opening.size()) + form->closing.size();
  } else {
    length = TagLength(rest);
    piece.kind = PieceKind::StartTag;
    if (rest[length - 2] == '/') piece.kind = PieceKind::EmptyTag;
  }
  assert(length > 0 && length <= rest.size());
  piece.text = rest.substr(0, length);
  rest.remove_prefix(length);
  return true;
}

std::string_view TagName(std::string_view tag) noexcept {
  return tag.substr(1, tag.find_first_of(" \t\r\n/>") - 1);
}

std::string_view InsideCData(std::string_view section) noexcept {
  assert(section.size() >= cdataOpening.size() + cdataClosing.size());
  return section.substr(cdataOpening.size(),
                        section.size() - cdataOpening.size() - cdataClosing.size());
}

} // namespace Ostrum
