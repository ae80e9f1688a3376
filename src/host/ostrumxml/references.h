// Between text as it stands in the source and text as it is meant.
#ifndef TARVIK_HOST_OSTRUMXML_REFERENCES_H
#define TARVIK_HOST_OSTRUMXML_REFERENCES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrum {

// The name in a whole reference, "&...;".
std::string_view ReferenceName(std::string_view reference) noexcept;

// The character of a character reference, "&#...;".
char32_t CharacterOf(std::string_view reference) noexcept;

// Appends character data without references, its line ends normalized, until text has `limit` bytes.
void AppendCharacters(std::string_view raw, std::string& text, std::size_t limit = std::string::npos);

// Appends what a whole reference stands for: a character, or nothing for an entity that XML does not predefine. False in
// that last case.
bool AppendReference(std::string_view reference, std::string& text);

// Drops outer blanks and folds inner ones, as is done to tokenized values.
std::string FoldBlanks(std::string_view value);

// What a value must look like in the source so that it reads back equal: in an element, or between such quotes.
std::string EscapeText(std::string_view text);
std::string EscapeAttribute(std::string_view value, char quote);

} // namespace Ostrum

#endif
