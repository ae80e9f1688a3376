#include "items/xml_text.h"

#include <stdexcept>

#include "host/ostrumxml/characters.h"

WideText RequireWide(const char* text) {
  WideText wide(ConvertToUnicode(text));
  if (wide == nullptr) throw std::invalid_argument("not text in the locale's character set");
  return wide;
}

WideText RequireXmlName(const char* name) {
  WideText wide = RequireWide(name);
  if (!Ostrum::IsXmlName(wide.get())) throw std::invalid_argument("no XML name");
  return wide;
}

WideText RequireXmlText(const char* text) {
  WideText wide = RequireWide(text);
  if (!Ostrum::IsXmlText(wide.get())) throw std::invalid_argument("a character that XML can't carry");
  return wide;
}
