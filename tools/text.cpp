#include "text.h"

#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "host/ostrumxml/utf8.h"

namespace {

bool localeIsUtf8 = false;

} // namespace

void UseLocale() {
  std::setlocale(LC_ALL, "");
  const std::string_view name = std::setlocale(LC_CTYPE, nullptr);
  if (name == "C" || name == "POSIX") std::setlocale(LC_CTYPE, "C.UTF-8");
  wchar_t character = 0;
  localeIsUtf8 = std::mbtowc(&character, "\xE2\x82\xAC", 3) == 3 && character == 0x20AC;
}

std::optional<std::string> FromLocale(const std::string& text) {
  if (localeIsUtf8) return Ostrum::IsUtf8(text) ? std::optional(text) : std::nullopt;
  std::wstring wide(text.size() + 1, L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
  std::string utf8;
  if (length > text.size() || !Ostrum::Utf8FromWide(wide.substr(0, length), utf8)) return std::nullopt;
  return utf8;
}

std::optional<std::string> ToLocale(std::string_view utf8) {
  if (localeIsUtf8) return std::string(utf8);
  const std::wstring wide = Ostrum::WideFromUtf8(utf8);
  std::string text(wide.size() * MB_LEN_MAX + 1, '\0');
  const std::size_t length = std::wcstombs(text.data(), wide.c_str(), text.size());
  if (length > text.size()) return std::nullopt;
  text.resize(length);
  return text;
}

bool HasForm(std::string_view utf8) { return localeIsUtf8 || ToLocale(utf8); }

std::string Printable(std::string_view utf8, std::string_view kept) {
  std::string result;
  for (const wchar_t character : Ostrum::WideFromUtf8(utf8)) {
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isKept = !isControl || kept.find(static_cast<char>(character)) != std::string_view::npos;
    if (isKept && length <= sizeof bytes) {
      result.append(bytes, length);
    } else {
      char escape[12];
      std::snprintf(escape, sizeof escape, "\\u%04lx", static_cast<unsigned long>(character));
      result += escape;
    }
  }
  return result;
}
