// Callers' text on its way into a document.
#ifndef TARVIK_ITEMS_XML_TEXT_H
#define TARVIK_ITEMS_XML_TEXT_H

#include "text/convert.h"

// The wide form of the text, never null. Throws std::invalid_argument when it can't be converted.
WideText RequireWide(const char* text);
// As RequireWide; also throws std::invalid_argument when it is no XML name.
WideText RequireXmlName(const char* name);
// As RequireWide; also throws std::invalid_argument when it holds a character that XML can't carry.
WideText RequireXmlText(const char* text);

#endif
