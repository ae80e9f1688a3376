// The character set of the C runtime's locale, by the system's conversions instead of the runtime's
// own, which replace characters by similar ones.
#include "platform/charset.h"

#include <locale.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "platform/platform.h"
#include "platform/windows/code_page.h"

namespace platform {
namespace {

// The last one probed; its id is the code page. Threads need no lock.
static_assert(std::atomic<Charset>::is_always_lock_free);
constinit std::atomic<Charset> lastProbed{};

// Not the number of a code page.
constexpr std::uint32_t asciiId = 1;

// In the locale "C" each byte is the character of the same number.
constexpr UINT noCodePage = 0;

// The locale's own code page: the runtime's _mbs functions follow another one, which setlocale
// leaves as it is.
UINT LocaleCodePage() noexcept { return ___lc_codepage_func(); }

// Whether the code page takes the flag against similar characters and reports replaced ones. Those
// with longer characters, such as GB18030 and UTF-8, do not.
bool ReportsReplacedCharacters(UINT codePage) noexcept {
  CPINFO info{};
  return GetCPInfo(codePage, &info) && info.MaxCharSize <= 2;
}

// Whether every character is still the same when it is converted and back.
bool ConvertsBack(UINT codePage, const wchar_t* text) noexcept {
  while (*text != L'\0') {
    const int units = IS_SURROGATE_PAIR(text[0], text[1]) ? 2 : 1;
    char bytes[8];
    wchar_t back[4];
    const int size = WideCharToMultiByte(codePage, 0, text, units, bytes, 8, nullptr, nullptr);
    const int count = MultiByteToWideChar(codePage, 0, bytes, size, back, 4);
    if (!std::equal(text, text + units, back, back + count)) return false;
    text += units;
  }
  return true;
}

// `size` counts the terminating zero; 0 means that the text cannot be converted.
std::size_t LengthOf(int size) noexcept {
  if (size > 0) return static_cast<std::size_t>(size) - 1;
  errno = EILSEQ;
  return conversionFailed;
}

// The runtime's wcstombs does not notice a character beyond a byte while it only measures.
std::size_t WideToBytes(char* target, const wchar_t* source, std::size_t capacity) noexcept {
  const std::wstring_view text(source);
  if (std::ranges::any_of(text, [](wchar_t character) { return character > 0xFF; })) {
    errno = EILSEQ;
    return conversionFailed;
  }
  if (target == nullptr) return text.size();
  const std::size_t count = std::min(text.size() + 1, capacity); // the zero, too
  std::transform(source, source + count, target,
                 [](wchar_t character) { return static_cast<char>(character); });
  return text.size();
}

} // namespace

// Without the flag, Windows replaces characters by similar ones, and so does the runtime's
// wcstombs.
std::size_t WideToCodePage(UINT codePage, char* target, const wchar_t* source,
                           std::size_t capacity) noexcept {
  const auto room = static_cast<int>(capacity);
  BOOL isReplaced = FALSE;
  int size = 0;
  if (ReportsReplacedCharacters(codePage)) {
    size = WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, source, -1, target, room, nullptr,
                               &isReplaced);
  } else if (ConvertsBack(codePage, source)) {
    size = WideCharToMultiByte(codePage, 0, source, -1, target, room, nullptr, nullptr);
  }
  if (isReplaced != FALSE) size = 0;
  return LengthOf(size);
}

std::size_t CodePageToWide(UINT codePage, wchar_t* target, const char* source,
                           std::size_t capacity) noexcept {
  return LengthOf(MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, source, -1, target,
                                      static_cast<int>(capacity)));
}

std::size_t WideToMbs(char* target, const wchar_t* source, std::size_t capacity) noexcept {
  const UINT codePage = LocaleCodePage();
  if (codePage == noCodePage) return WideToBytes(target, source, capacity);
  return WideToCodePage(codePage, target, source, capacity);
}

std::size_t MbsToWide(wchar_t* target, const char* source, std::size_t capacity) noexcept {
  const UINT codePage = LocaleCodePage();
  if (codePage == noCodePage) return std::mbstowcs(target, source, capacity);
  return CodePageToWide(codePage, target, source, capacity);
}

Charset QueryCharset() noexcept {
  const std::uint32_t codePage = LocaleCodePage();
  if (codePage == noCodePage) return {asciiId, PlainText::Ascii, true, false};
  Charset known = lastProbed.load(std::memory_order_relaxed);
  if (known.id != codePage) {
    known = ProbeCharset(codePage);
    lastProbed.store(known, std::memory_order_relaxed);
  }
  return known;
}

} // namespace platform
