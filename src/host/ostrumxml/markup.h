// Finding one's way in the source of a well-formed document. Since the text has been checked, nothing here looks for errors.
#ifndef TARVIK_HOST_OSTRUMXML_MARKUP_H
#define TARVIK_HOST_OSTRUMXML_MARKUP_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Ostrum {

// White space as XML has it.
constexpr bool IsBlank(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// Whether raw text means what it says in content and in an attribute's value alike: it holds no reference, no markup and no
// control character.
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

// The attributes of a start tag that has very many of them, by name.
class TagIndex {
 public:
  // tag: as TagScanner takes it; must outlive the index. Throws std::bad_alloc.
  explicit TagIndex(std::string_view tag);

  // The attribute, or one with an empty name.
  RawAttribute Find(std::string_view name) const noexcept;

 private:
  RawAttribute At(std::uint32_t offset) const noexcept;

  std::string_view tag;
  std::vector<std::uint32_t> offsets; // of the attributes, sorted by their names
};

enum class PieceKind {
  Text,      // character data without references; a long one comes in several pieces
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

// Walks the pieces of a stretch of content.
class PieceScanner {
 public:
  explicit PieceScanner(std::string_view stretch) noexcept : rest(stretch) {}
  bool Next(Piece& piece) noexcept;

 private:
  std::string_view rest;
};

// The name in a start tag.
std::string_view TagName(std::string_view tag) noexcept;

// What stands inside a whole CDATA section.
std::string_view InsideCData(std::string_view section) noexcept;

} // namespace Ostrum

#endif
