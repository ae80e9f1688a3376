#include "host/ostrumxml/data/xml_text.h"

#include <algorithm>
#include <new>
#include <string>

#include "host/ostrumxml/data/byte_scan.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/expat/expat_parser.h"

namespace Ostrum {
namespace {

bool MayBeInName(char character) {
  return !IsAscii({&character, 1}) || nameStarts.find(character) != std::string_view::npos ||
         otherNameCharacters.find(character) != std::string_view::npos;
}

} // namespace

bool IsXmlName(std::string_view text) {
  if (text.empty() || !std::ranges::all_of(text, MayBeInName)) return false;
  if (IsAscii(text)) return nameStarts.find(text.front()) != std::string_view::npos;
  // The parser decides on characters beyond ASCII, since it must read the name again.
  ExpatParser parser;
  const bool isName = parser.Feed("<" + std::string(text) + "/>", true) == XML_STATUS_OK;
  if (!isName && XML_GetErrorCode(parser.Get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return isName;
}

bool IsXmlText(std::string_view text) noexcept {
  const auto isControl = [](auto byte) {
    return (byte < ' ') & (byte != '\t') & (byte != '\n') & (byte != '\r');
  };
  if (LengthBefore(text, isControl) < text.size()) return false;
  if (IsAscii(text)) return true;
  return IsUtf8(text) && text.find("\xEF\xBF\xBE") == text.npos &&
         text.find("\xEF\xBF\xBF") == text.npos; // U+FFFE, U+FFFF
}

} // namespace Ostrum
