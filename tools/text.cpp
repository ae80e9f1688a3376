#include "text.h"

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdio>

#include "host/ostrumxml/utf8.h"

namespace {

std::string Escaped(wchar_t character) {
  char escape[12];
  std::snprintf(escape, sizeof escape, "\\u%04lx", static_cast<unsigned long>(character));
  return escape;
}

std::string WithoutControls(std::string_view text, std::string_view kept) {
  std::string result;
  ForEachCharacter(text, [&](wchar_t character, std::string_view bytes, bool isValid) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    if (isValid && (!isControl || kept.find(bytes) != std::string_view::npos)) {
      result += bytes;
    } else {
      result += Escaped(isValid ? character : static_cast<unsigned char>(bytes.front()));
    }
  });
  return result;
}

} // namespace

void UseLocale() {
  std::setlocale(LC_ALL, "");
  const std::string_view name = std::setlocale(LC_CTYPE, nullptr);
  if (name == "C" || name == "POSIX") std::setlocale(LC_CTYPE, "C.UTF-8");
}

bool LocaleIsUtf8() { return ToUtf8("\xC3\xA4") == "\xC3\xA4"; }

std::size_t Width(std::string_view text) { return ToWide(text).size(); }

bool IsText(std::string_view text) {
  bool isText = true;
  ForEachCharacter(text, [&isText](wchar_t, std::string_view, bool isValid) { isText = isText && isValid; });
  return isText;
}

std::wstring ToWide(std::string_view text) {
  std::wstring wide;
  ForEachCharacter(text, [&wide](wchar_t character, std::string_view, bool) { wide += character; });
  return wide;
}

std::string ToUtf8(std::string_view text) {
  std::string utf8;
  Ostrum::Utf8FromWide(ToWide(text), utf8);
  return utf8;
}

std::string ToLocale(std::wstring_view text, bool* isExact) {
  std::string result;
  std::mbstate_t state{};
  for (const wchar_t character : text) {
    char bytes[MB_LEN_MAX];
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    const bool hasForm = length != static_cast<std::size_t>(-1);
    result += hasForm ? std::string(bytes, length) : Escaped(character);
    if (hasForm) continue;
    state = {};
    if (isExact != nullptr) *isExact = false;
  }
  return result;
}

std::string FromUtf8(std::string_view text, bool* isExact) { return ToLocale(Ostrum::WideFromUtf8(text), isExact); }

std::string Printable(std::string_view text) { return WithoutControls(text, "\t\n"); }

std::string OnOneLine(std::string_view text) { return WithoutControls(text, ""); }
