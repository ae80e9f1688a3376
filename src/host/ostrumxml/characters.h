// What XML can carry.
#ifndef TARVIK_HOST_OSTRUMXML_CHARACTERS_H
#define TARVIK_HOST_OSTRUMXML_CHARACTERS_H

namespace Ostrum {

// Whether the text can be the name of an element or attribute, in a document that this library reads again.
bool IsXmlName(const wchar_t* text);

// Whether every character of the text may stand in a value.
bool IsXmlText(const wchar_t* text) noexcept;

} // namespace Ostrum

#endif
