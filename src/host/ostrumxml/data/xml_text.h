// What XML allows in names and values.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_XML_TEXT_H
#define TARVIK_HOST_OSTRUMXML_DATA_XML_TEXT_H

#include <string_view>

namespace Ostrum {

// The ASCII characters that a name may have; only those of the first group can start it.
inline constexpr std::string_view nameStarts =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_:";
inline constexpr std::string_view otherNameCharacters = "0123456789-.";

// Whether the text, which need not be valid UTF-8, can be the name of an element or attribute in a
// document that this library can read again.
bool IsXmlName(std::string_view text);

// Whether the text is valid UTF-8 and has only characters that XML allows.
bool IsXmlText(std::string_view text) noexcept;

} // namespace Ostrum

#endif
