// Scanning the source of a well-formed document. A reader has checked the text, so nothing here
// checks for errors.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_MARKUP_H
#define TARVIK_HOST_OSTRUMXML_DATA_MARKUP_H

#include <string_view>

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

enum class PieceKind {
  Text,      // character data without references; long text comes in several pieces
  Reference, // "&...;"
  CData,     // a whole CDATA section
  Other,     // a whole comment or processing instruction
  StartTag,
  EmptyTag, // "<name/>"
  EndTag,
};

// The views refer to the source.
struct Piece {
  PieceKind kind;
  std::string_view text;   // the whole piece
  std::string_view inside; // between its delimiters: a reference's name, a CDATA section's text
};

// Walks the pieces of a part of an element's content.
class PieceScanner {
 public:
  explicit PieceScanner(std::string_view stretch) noexcept : rest(stretch) {}
  bool Next(Piece& piece) noexcept;

 private:
  std::string_view rest;
};

} // namespace Ostrum

#endif
