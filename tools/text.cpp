#include "text.h"

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdio>

#include "host/ostrumxml/utf8.h"

namespace {

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::string Escaped(wchar_t character) {
  char escape[12];
  std::snprintf(escape, sizeof escape, "\\u%04lx", static_cast<unsigned long>(character));
  return escape;
}

// Appends the characters; what to do with one that the locale lacks is up to the caller.
template <class Lacking>
std::string Narrowed(std::wstring_view text, Lacking lacking) {
  std::string result;
  std::mbstate_t state{};
  for (const wchar_t character : text) {
    char bytes[MB_LEN_MAX];
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    if (length != static_cast<std::size_t>(-1)) {
      result.append(bytes, length);
      continue;
    }
    state = {};
    lacking(result, character);
  }
  return result;
}

bool IsControl(wchar_t character) { return character < 0x20 || (character >= 0x7F && character < 0xA0); }

std::string WithoutControls(std::string_view text, std::string_view kept) {
  std::string result;
  ForEachCharacter(text, [&](wchar_t character, std::string_view bytes, bool isValid) {
    const bool isKept = bytes.size() == 1 && kept.find(bytes.front()) != std::string_view::npos;
    if (!isValid) {
      result += Escaped(static_cast<unsigned char>(bytes.front()));
    } else if (IsControl(character) && !isKept) {
      result += Escaped(character);
    } else {
      result += bytes;
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
  if (IsAscii(text)) return std::string(text);
  std::string utf8;
  Ostrum::Utf8FromWide(ToWide(text), utf8);
  return utf8;
}

std::string ToLocale(std::wstring_view text) {
  return Narrowed(text, [](std::string& result, wchar_t character) { result += Escaped(character); });
}

std::string FromUtf8(std::string_view text) { return ToLocale(Ostrum::WideFromUtf8(text)); }

std::optional<std::string> ToLocaleExactly(std::wstring_view text) {
  bool isExact = true;
  std::string result = Narrowed(text, [&isExact](std::string&, wchar_t) { isExact = false; });
  if (!isExact) return std::nullopt;
  return result;
}

std::string Printable(std::string_view text) { return WithoutControls(text, "\t\n"); }

std::string OnOneLine(std::string_view text) { return WithoutControls(text, ""); }
