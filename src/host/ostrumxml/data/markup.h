// Scanning the source of a well-formed document. A reader has checked the text, so nothing here
// checks for errors.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_MARKUP_H
#define TARVIK_HOST_OSTRUMXML_DATA_MARKUP_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Ostrum {

// White space as XML defines it.
constexpr bool IsWhiteSpace(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// Whether raw text needs no decoding, in content or in an attribute's value: it has no reference,
// markup or control character.
bool NeedsNoDecoding(std::string_view raw) noexcept;

// One attribute of a start tag; the views refer to the source.
struct RawAttribute {
  std::string_view name;
  std::string_view value; // between the quotes, undecoded
};

// Walks the attributes of a start tag.
class TagScanner {
 public:
  // tag: the source after the element's name, at least to the end of the tag.
  explicit TagScanner(std::string_view tag) noexcept : rest(tag) {}

  // False if there are no more attributes.
  bool Next(RawAttribute& attribute) noexcept;
  // The rest of the tag, directly after the last attribute returned.
  std::string_view Rest() const noexcept { return rest; }

 private:
  std::string_view rest;
};

// An index by name of the attributes of a start tag that has very many.
class TagIndex {
 public:
  // tag: as for TagScanner; must outlive the index. Throws std::bad_alloc.
  explicit TagIndex(std::string_view tag);

  // The attribute; one with an empty name if there is none.
  RawAttribute Find(std::string_view name) const noexcept;

 private:
  RawAttribute At(std::uint32_t offset) const noexcept;

  std::string_view tag;
  std::vector<std::uint32_t> offsets; // of the attributes, sorted by their names
};

enum class PieceKind {
  Text,      // character data without references; long text comes in several pieces
  Reference, // "&...;"
  CData,     // a whole CDATA section
  Other,     // a whole comment or processing instruction
  StartTag,
  EmptyTag, // "<name/>"
  EndTag,
};

struct Piece {
  PieceKind kind;
  std::string_view text; // in the source
};

// Walks the pieces of a part of an element's content.
class PieceScanner {
 public:
  explicit PieceScanner(std::string_view stretch) noexcept : rest(stretch) {}
  bool Next(Piece& piece) noexcept;

 private:
  std::string_view rest;
};

// The name in a start tag.
std::string_view TagName(std::string_view tag) noexcept;

// The text inside a whole CDATA section.
std::string_view InsideCData(std::string_view section) noexcept;

} // namespace Ostrum

#endif
