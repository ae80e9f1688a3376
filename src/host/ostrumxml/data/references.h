// Conversion between text in the source and its meaning: references, entities, line ends, and
// escaping.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_REFERENCES_H
#define TARVIK_HOST_OSTRUMXML_DATA_REFERENCES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/markup.h"

namespace Ostrum {

// Whether the text, which need not be valid UTF-8, can be the name of an element or attribute in a
// document that this library can read again.
bool IsXmlName(std::string_view text);

// Whether the text is valid UTF-8 and has only characters that XML allows in values.
bool IsXmlText(std::string_view text) noexcept;

// Whether XML itself defines an entity of that name.
bool IsPredefined(std::string_view entityName) noexcept;

// The name in a reference, "&...;".
std::string_view ReferenceName(std::string_view reference) noexcept;

// The character of a character reference, "&#...;".
char32_t CharacterOf(std::string_view reference) noexcept;

// Appends character data without references, with normalized line ends, until text has `limit`
// bytes.
void AppendCharacters(std::string_view raw, std::string& text,
                      std::size_t limit = std::string::npos);

// Appends the character for a reference; nothing for an entity that XML does not predefine.
void AppendReference(std::string_view reference, std::string& text);

// Removes blanks at the ends and folds those inside, as XML does for tokenized attribute values.
std::string FoldBlanks(std::string_view value);

// Escapes a value for the source so that it is read back unchanged: in an element, or in an
// attribute between such quotes.
std::string EscapeText(std::string_view text);
std::string EscapeAttribute(std::string_view value, char quote);

// Walks the pieces of a part of content or of an attribute's value. In place of a reference to an
// entity of the document, it walks the entity's replacement text, without recursion.
class ContentWalker {
 public:
  ContentWalker(const DocumentData& data, std::string_view stretch) noexcept
      : data(data), current(stretch) {}
  // Never returns a reference to an entity whose text is known.
  bool Next(Piece& piece);

 private:
  const DocumentData& data;
  PieceScanner current;
  std::vector<PieceScanner>
      outer; // to be continued when the current entity ends, the innermost last
};

// Appends the character data of a part of content, without that of elements in it, until text has
// `limit` bytes.
void AppendOwnText(const DocumentData& data, std::string_view stretch, std::string& text,
                   std::size_t limit);

// Appends the value of an attribute, normalized but not folded (each line end or tab becomes a
// blank), until value has `limit` bytes.
void AppendAttributeValue(const DocumentData& data, std::string_view raw, std::string& value,
                          std::size_t limit);

} // namespace Ostrum

#endif
