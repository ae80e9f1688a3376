// Callers' text on its way into a document.
#ifndef TARVIK_ITEMS_XML_TEXT_H
#define TARVIK_ITEMS_XML_TEXT_H

#include <string>

// The text in UTF-8. Throws std::invalid_argument when it can't be converted.
std::string RequireUtf8(const char* text);
// As RequireUtf8; also throws std::invalid_argument when it is no XML name.
std::string RequireXmlName(const char* name);
// As RequireUtf8; also throws std::invalid_argument when it holds a character that XML can't carry.
std::string RequireXmlText(const char* text);

#endif
