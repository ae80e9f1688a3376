// The character set of the C runtime's locale, by the system's conversions instead of the runtime's
// own, which replace characters by similar ones.
#include "platform/charset.h"

#include <locale.h>
#include <windows.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace platform {
namespace {

// The locale's own code page: the runtime's _mbs functions follow another one, which setlocale
// leaves as it is. In the locale "C", where it is 0, each byte is the character of the same number.
UINT LocaleCodePage() noexcept {
  constexpr UINT latin1 = 28591;
  const UINT codePage = ___lc_codepage_func();
  if (codePage == 0) return latin1;
  return codePage;
}

// That of the current call.
UINT CurrentCodePage() noexcept {
  const Charset charset = CurrentCharset();
  assert(!charset.isForcedUtf8);
  return charset.id;
}

// `size` counts the terminating zero; 0 means that the text cannot be converted.
std::size_t LengthOf(int size) noexcept {
  if (size > 0) return static_cast<std::size_t>(size) - 1;
  errno = EILSEQ;
  return conversionFailed;
}

} // namespace

// Windows replaces characters by similar ones. Its flag against that is not for every code page, so
// the text is converted back and compared.
std::size_t WideToMbs(char* target, const wchar_t* source, std::size_t capacity) {
  constexpr std::size_t maxBytes = 4; // for one unit
  const std::wstring_view text(source);
  std::string bytes(text.size() * maxBytes + 1, '\0');
  const std::size_t length =
      LengthOf(WideCharToMultiByte(CurrentCodePage(), 0, source, -1, bytes.data(),
                                   static_cast<int>(bytes.size()), nullptr, nullptr));
  if (length == conversionFailed) return length;
  std::wstring back(text.size(), L'\0');
  if (MbsToWide(back.data(), bytes.c_str(), back.size() + 1) != text.size() || back != text)
    return LengthOf(0);
  std::copy_n(bytes.c_str(), std::min(length + 1, capacity), target);
  return length;
}

std::size_t MbsToWide(wchar_t* target, const char* source, std::size_t capacity) {
  return LengthOf(MultiByteToWideChar(CurrentCodePage(), MB_ERR_INVALID_CHARS, source, -1, target,
                                      static_cast<int>(capacity)));
}

Charset QueryCharset() noexcept {
  static thread_local constinit Charset last{};
  const std::uint32_t codePage = LocaleCodePage();
  if (last.id != codePage) last = ProbeCharset(codePage);
  return last;
}

} // namespace platform
