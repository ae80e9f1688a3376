#include "host/ostrumxml/markup.h"

#include <cstdint>
#include <cstring>

namespace Ostrum {
namespace {

constexpr std::uint64_t eachByte = 0x0101010101010101U;
constexpr std::uint64_t highBits = 0x80 * eachByte;

// Nonzero when one of the eight bytes is not ASCII, a control character, "&" or "<". Every value that is read passes through
// here: eight bytes at a time take a quarter of the instructions of a loop over them.
std::uint64_t OutOfPlain(std::uint64_t bytes) noexcept {
  const auto hasZero = [](std::uint64_t word) { return (word - eachByte) & ~word; };
  const std::uint64_t control = (bytes - 0x20 * eachByte) & ~bytes;
  return (bytes | control | hasZero(bytes ^ '&' * eachByte) | hasZero(bytes ^ '<' * eachByte)) & highBits;
}

constexpr std::string_view cdataOpening = "<![CDATA[";
constexpr std::string_view cdataClosing = "]]>";

void SkipBlanks(std::string_view& text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
}

} // namespace

bool StandsForItself(std::string_view raw) noexcept {
  std::uint64_t word = 0;
  for (; raw.size() >= sizeof word; raw.remove_prefix(sizeof word)) {
    std::memcpy(&word, raw.data(), sizeof word);
    if (OutOfPlain(word) != 0) return false;
  }
  for (const char character : raw) {
    if (character < ' ' || character == '&' || character == '<' || static_cast<unsigned char>(character) >= 0x80)
      return false;
  }
  return true;
}

bool TagScanner::Next(RawAttribute& attribute) noexcept {
  std::string_view ahead = rest;
  SkipBlanks(ahead);
  if (ahead.front() == '>' || ahead.front() == '/') return false;

  std::size_t length = 0;
  while (ahead[length] != '=' && !IsBlank(ahead[length])) ++length;
  attribute.name = ahead.substr(0, length);
  ahead.remove_prefix(length);
  SkipBlanks(ahead);
  ahead.remove_prefix(1); // the equals sign
  SkipBlanks(ahead);
  const std::size_t closing = ahead.find(ahead.front(), 1);
  attribute.value = ahead.substr(1, closing - 1);
  rest = ahead.substr(closing + 1);
  return true;
}

bool PieceScanner::Next(Piece& piece) noexcept {
  if (rest.empty()) return false;
  std::size_t length = 0;
  if (rest.front() == '&') {
    piece.kind = PieceKind::Reference;
    length = rest.find(';') + 1;
  } else if (rest.front() != '<') {
    piece.kind = PieceKind::Text;
    length = rest.find_first_of("<&");
  } else if (rest.starts_with(cdataOpening)) {
    piece.kind = PieceKind::CData;
    length = rest.find(cdataClosing) + cdataClosing.size();
  } else {
    piece.kind = PieceKind::Other;
    length = rest[1] == '?' ? rest.find("?>") + 2 : rest.find("-->", 4) + 3;
  }
  piece.text = rest.substr(0, length);
  rest.remove_prefix(piece.text.size());
  return true;
}

std::string_view InsideCData(std::string_view section) noexcept {
  return section.substr(cdataOpening.size(), section.size() - cdataOpening.size() - cdataClosing.size());
}

} // namespace Ostrum
