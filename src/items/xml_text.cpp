#include "items/xml_text.h"

#include <stdexcept>

#include "host/ostrumxml/characters.h"
#include "text/edge.h"

std::string RequireUtf8(const char* text) {
  const DocumentText utf8(text);
  if (!utf8.Text()) throw std::invalid_argument("not text in the locale's character set");
  return std::string(*utf8.Text());
}

std::string RequireXmlName(const char* name) {
  std::string utf8 = RequireUtf8(name);
  if (!Ostrum::IsXmlName(utf8)) throw std::invalid_argument("no XML name");
  return utf8;
}

std::string RequireXmlText(const char* text) {
  std::string utf8 = RequireUtf8(text);
  if (!Ostrum::IsXmlText(utf8)) throw std::invalid_argument("a character that XML can't carry");
  return utf8;
}
