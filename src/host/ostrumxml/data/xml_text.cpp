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
  if (XML_GetErrorCode(parser.Get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return isName;
}

bool IsXmlText(std::string_view text) noexcept {
  constexpr unsigned char leadOfLast = 0xEF; // of U+F000 to U+FFFF; XML forbids the last two
  const auto isBlank = [](auto byte) { return (byte == '\t') | (byte == '\n') | (byte == '\r'); };
  // Up to the first byte beyond ASCII, one comparison finds that and the controls.
  text.remove_prefix(
      LongLengthBefore(text, [=](auto byte) { return (AsSigned(byte) < ' ') & ~isBlank(byte); }));
  if (!IsUtf8(text)) return false;
  const auto isSuspect = [=](auto byte) {
    return ((byte < ' ') & ~isBlank(byte)) | (byte == leadOfLast);
  };
  for (;;) {
    text.remove_prefix(LongLengthBefore(text, isSuspect));
    if (text.empty()) return true;
    const bool isControl = static_cast<unsigned char>(text.front()) != leadOfLast;
    if (isControl || text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF"))
      return false;
    text.remove_prefix(1);
  }
}

} // namespace Ostrum
