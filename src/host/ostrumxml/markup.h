// Finding one's way in the source of a well-formed document. Since the text has been checked, nothing here looks for errors.
#ifndef TARVIK_HOST_OSTRUMXML_MARKUP_H
#define TARVIK_HOST_OSTRUMXML_MARKUP_H

#include <cstddef>
#include <string_view>

namespace Ostrum {

// White space as XML has it.
constexpr bool IsBlank(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// Whether raw text is plain ASCII and means what it says in content and in an attribute's value alike: it holds no reference,
// no markup and no control character.
bool StandsForItself(std::string_view raw) noexcept;

// One attribute as it stands in a start tag; the views lie in the source.
struct RawAttribute {
  std::string_view name;
  std::string_view value; // between the quotes, undecoded
};

// Walks the attributes of a start tag.
class TagScanner {
 public:
  // tag: the source from behind the element's name, at least to the end of the tag.
  explicit TagScanner(std::string_view tag) noexcept : rest(tag) {}

  // False when there is no further attribute.
  bool Next(RawAttribute& attribute) noexcept;
  // What was not walked yet; begins right behind the last attribute.
  std::string_view Rest() const noexcept { return rest; }

 private:
  std::string_view rest;
};

enum class PieceKind {
  Text,      // character data without references
  Reference, // "&...;"
  CData,     // a whole CDATA section
  Other,     // a whole comment or processing instruction
};

struct Piece {
  PieceKind kind;
  std::string_view text; // in the source
};

// Walks the pieces of a stretch of content that holds no tags.
class PieceScanner {
 public:
  explicit PieceScanner(std::string_view stretch) noexcept : rest(stretch) {}
  bool Next(Piece& piece) noexcept;

 private:
  std::string_view rest;
};

// What stands inside a whole CDATA section.
std::string_view InsideCData(std::string_view section) noexcept;

} // namespace Ostrum

#endif
