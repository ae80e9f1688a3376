// Encodings by code pages, one character at a time, independently of the locale.
#include "platform/encoding_converter.h"

#include <windows.h>

#include <cassert>
#include <charconv>

namespace platform {
namespace {

constexpr UINT eucJp = 20932, usAscii = 20127;

// Names that contain the code page's number.
constexpr struct {
  std::string_view prefix;
  UINT base;
} families[] = {{"WINDOWS-", 0}, {"CP", 0}, {"IBM", 0}, {"ISO-8859-", 28590}};

constexpr struct {
  std::string_view name;
  UINT page;
} pages[] = {
    {"US-ASCII", usAscii},   {"GBK", 936},
    {"GB18030", 54936},      {"BIG5", 950},
    {"EUC-JP", eucJp},       {"KOI8-R", 20866},
    {"KOI8-U", 21866},       {"TIS-620", 874},
    {"MACINTOSH", 10000},    {"MACCYRILLIC", 10007},
    {"MAC-CYRILLIC", 10007}, {"X-MAC-CYRILLIC", 10007},
};

// 0 if the name is unknown.
UINT CodePageOf(std::string_view name) noexcept {
  for (const auto& it : pages) {
    if (it.name == name) return it.page;
  }
  for (const auto& it : families) {
    if (!name.starts_with(it.prefix)) continue;
    UINT number = 0;
    const auto [end, error] =
        std::from_chars(name.data() + it.prefix.size(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) continue;
    // The lowest numbers stand for code pages that depend on the locale.
    constexpr UINT firstPage = 37;
    const UINT page = it.base + number;
    return page >= firstPage && IsValidCodePage(page) ? page : 0;
  }
  return 0;
}

// Rewrites characters of three bytes, the first of them 8F, as the two bytes that Windows uses:
// without the 8F, and with the last byte below 80. False if the bytes are not valid EUC-JP.
bool RewriteEucJp(std::string_view& bytes, char (&rewritten)[2]) noexcept {
  if (bytes.front() != '\x8F') return bytes.size() == 1 || (bytes.size() == 2 && bytes[1] < 0);
  if (bytes.size() != 3 || bytes[1] >= 0 || bytes[2] >= 0) return false;
  rewritten[0] = bytes[1];
  rewritten[1] = static_cast<char>(bytes[2] & 0x7F);
  bytes = {rewritten, 2};
  return true;
}

std::size_t Convert(UINT page, std::string_view bytes, char* utf8, std::size_t capacity) noexcept {
  assert(!bytes.empty());
  char rewritten[2];
  if (page == eucJp && !RewriteEucJp(bytes, rewritten)) return 0;
  if (page == usAscii && bytes.front() < 0) return 0; // Windows would clear the bit
  if (bytes.size() == 1 && IsDBCSLeadByteEx(page, static_cast<BYTE>(bytes.front()))) return 0;
  wchar_t wide[4]; // a pair of surrogates, or a letter and its accent, can stand for one character
  const int units = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(),
                                        static_cast<int>(bytes.size()), wide, 4);
  if (units == 0) return 0;
  return static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide, units,
                                                      utf8, static_cast<int>(capacity), nullptr,
                                                      nullptr));
}

} // namespace

EncodingConverter OpenEncoding(const char* name) {
  const UINT page = CodePageOf(name);
  if (page == 0) return nullptr;
  return std::bind_front(&Convert, page);
}

} // namespace platform
