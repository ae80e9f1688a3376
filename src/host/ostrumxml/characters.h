// What XML can carry.
#ifndef TARVIK_HOST_OSTRUMXML_CHARACTERS_H
#define TARVIK_HOST_OSTRUMXML_CHARACTERS_H

#include <string_view>

namespace Ostrum {

// Whether the text, which need not be valid UTF-8, can be the name of an element or attribute, in a document that this library reads again.
bool IsXmlName(std::string_view text);

// Whether the text is valid UTF-8 and every character of it may stand in a value.
bool IsXmlText(std::string_view text) noexcept;

} // namespace Ostrum

#endif
