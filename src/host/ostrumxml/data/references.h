// Conversion between raw text in the source and its meaning: references, line endings, escaping.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_REFERENCES_H
#define TARVIK_HOST_OSTRUMXML_DATA_REFERENCES_H

#include <string>
#include <string_view>

namespace Ostrum {

// Whether XML itself defines an entity of that name.
bool IsPredefined(std::string_view entityName) noexcept;

// Appends character data without references, with normalized line endings.
void AppendCharacters(std::string_view raw, std::string& text);

// Appends the character for a reference, of which the name is given: "#..." for a character
// reference. False, with nothing appended, for an entity that XML does not predefine.
bool AppendReference(std::string_view name, std::string& text);

// Removes spaces at the ends and reduces others to one each, as XML does for tokenized attribute
// values.
std::string FoldSpaces(std::string_view value);

// Escapes text so that it is read back unchanged: in an element, or in an attribute value between
// quotes of that kind.
std::string EscapeText(std::string_view text);
std::string EscapeAttribute(std::string_view value, char quote);

} // namespace Ostrum

#endif
