#include "host/ostrumxml/characters.h"

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "host/ostrumxml/expat_parser.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

bool IsAsciiNameStart(wchar_t character) {
  return (character >= L'a' && character <= L'z') || (character >= L'A' && character <= L'Z') || character == L'_' ||
         character == L':';
}

bool IsAsciiNameCharacter(wchar_t character) {
  return IsAsciiNameStart(character) || (character >= L'0' && character <= L'9') || character == L'-' ||
         character == L'.';
}

// Which other characters a name may hold is the parser's to say, since it must read the name again.
bool IsNameToParser(std::wstring_view text) {
  std::string name;
  if (!Utf8FromWide(text, name)) return false;

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
  const std::string document = "<" + name + "/>";
  const bool parsed = parser.Feed(document, true) == XML_STATUS_OK;
  if (!parsed && XML_GetErrorCode(parser.Get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return parsed && seen.same;
}

} // namespace

bool IsXmlName(const wchar_t* text) {
  const std::wstring_view name(text);
  if (name.empty()) return false;
  if (IsAsciiNameStart(name.front()) && std::all_of(name.begin(), name.end(), IsAsciiNameCharacter)) return true;
  const bool ascii = std::all_of(name.begin(), name.end(), [](wchar_t character) { return character < 0x80; });
  return !ascii && IsNameToParser(name);
}

bool IsXmlText(const wchar_t* text) noexcept {
  for (; *text != L'\0'; ++text) {
    auto character = static_cast<char32_t>(*text);
    if (sizeof(wchar_t) == 2 && character >= 0xD800 && character <= 0xDBFF) {
      const auto low = static_cast<char32_t>(text[1]);
      if (low < 0xDC00 || low > 0xDFFF) return false;
      ++text;
      continue;
    }
    const bool control = character < 0x20 && character != '\t' && character != '\n' && character != '\r';
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (control || surrogate || character == 0xFFFE || character == 0xFFFF || character > 0x10FFFF) return false;
  }
  return true;
}

} // namespace Ostrum
