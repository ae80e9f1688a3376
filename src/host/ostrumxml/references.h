// Between text as it stands in the source and text as it is meant.
#ifndef TARVIK_HOST_OSTRUMXML_REFERENCES_H
#define TARVIK_HOST_OSTRUMXML_REFERENCES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/markup.h"

namespace Ostrum {

// Whether the text, which need not be valid UTF-8, can be the name of an element or attribute, in a document that this library reads again.
bool IsXmlName(std::string_view text);

// Whether the text is valid UTF-8 and every character of it may stand in a value.
bool IsXmlText(std::string_view text) noexcept;

// The name in a whole reference, "&...;".
std::string_view ReferenceName(std::string_view reference) noexcept;

// The character of a character reference, "&#...;".
char32_t CharacterOf(std::string_view reference) noexcept;

// Appends character data without references, its line ends normalized, until text has `limit` bytes.
void AppendCharacters(std::string_view raw, std::string& text, std::size_t limit = std::string::npos);

// Appends what a whole reference stands for: a character, or nothing for an entity that XML does not predefine.
void AppendReference(std::string_view reference, std::string& text);

// Drops outer blanks and folds inner ones, as is done to tokenized values.
std::string FoldBlanks(std::string_view value);

// What a value must look like in the source so that it reads back equal: in an element, or between such quotes.
std::string EscapeText(std::string_view text);
std::string EscapeAttribute(std::string_view value, char quote);

// Walks the pieces of a stretch of content, those of the replacement texts in the place of references to own entities. These
// are followed without recursion, however deep they refer to each other.
class ContentWalker {
 public:
  ContentWalker(const Content& content, std::string_view stretch) noexcept : content(content), current(stretch) {}
  // Never gives a reference to an own entity.
  bool Next(Piece& piece);

 private:
  const Content& content;
  PieceScanner current;
  std::vector<PieceScanner> outer; // that wait for the end of an entity, the innermost last
};

// Appends the character data of a stretch of content, that of the elements in it left out, until text has `limit` bytes.
void AppendOwnText(const Content& content, std::string_view stretch, std::string& text, std::size_t limit);

// Appends the value of an attribute, normalized but not folded: each line end and tab is a blank; until value has `limit`
// bytes.
void AppendAttributeValue(const Content& content, std::string_view raw, std::string& value, std::size_t limit);

} // namespace Ostrum

#endif
