#include "host/ostrumxml/characters.h"

#include <algorithm>
#include <new>
#include <string>

#include "host/ostrumxml/expat_parser.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

bool IsAsciiNameStart(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_' ||
         character == ':';
}

bool IsAsciiNameCharacter(char character) {
  return IsAsciiNameStart(character) || (character >= '0' && character <= '9') || character == '-' || character == '.';
}

// Which other characters a name may hold is the parser's to say, since it must read the name again.
bool IsNameToParser(const std::string& name) {
  struct Seen {
    const std::string& name;
    bool same;
  } seen{name, false};
  ExpatParser parser;
  XML_SetUserData(parser.Get(), &seen);
  XML_SetStartElementHandler(parser.Get(), [](void* data, const XML_Char* element, const XML_Char**) {
    auto& expected = *static_cast<Seen*>(data);
    expected.same = expected.name == element;
  });
  const bool parsed = parser.Feed("<" + name + "/>", true) == XML_STATUS_OK;
  if (!parsed && XML_GetErrorCode(parser.Get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return parsed && seen.same;
}

} // namespace

bool IsXmlName(std::string_view text) {
  if (text.empty()) return false;
  if (IsAscii(text)) {
    return IsAsciiNameStart(text.front()) && std::all_of(text.begin(), text.end(), IsAsciiNameCharacter);
  }
  return IsNameToParser(std::string(text));
}

bool IsXmlText(std::string_view text) noexcept {
  const auto isControl = [](char unit) {
    const auto byte = static_cast<unsigned char>(unit);
    return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
  };
  if (std::any_of(text.begin(), text.end(), isControl)) return false;
  if (IsAscii(text)) return true;
  return IsUtf8(text) && text.find("\xEF\xBF\xBE") == text.npos &&
         text.find("\xEF\xBF\xBF") == text.npos; // U+FFFE, U+FFFF
}

} // namespace Ostrum
