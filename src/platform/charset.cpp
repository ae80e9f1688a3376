#include "platform/charset.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "platform/platform.h"

namespace platform {
namespace {

// What the outermost scope was told.
struct Asked {
  bool isKnown;
  Charset charset;
};

// The C library of the name keeps room in each thread for a few small variables of libraries that are loaded late. Elsewhere
// the faster access could fail there.
#ifdef __GLIBC__
[[gnu::tls_model("initial-exec")]]
#endif
thread_local constinit Asked asked{};

// Converts the 127 ASCII characters to wide text and back.
bool ProbeAsciiIsPlain() noexcept {
  constexpr std::size_t count = 127;
  char ascii[count + 1] = {};
  for (std::size_t i = 0; i < count; ++i) ascii[i] = static_cast<char>(i + 1);

  wchar_t wide[count + 1];
  if (std::mbstowcs(wide, ascii, count + 1) != count) return false;
  for (std::size_t i = 0; i < count; ++i) {
    if (wide[i] != static_cast<wchar_t>(i + 1)) return false;
  }
  char back[count + 1];
  return std::wcstombs(back, wide, count + 1) == count && std::memcmp(back, ascii, count) == 0;
}

} // namespace

Charset CurrentCharset() noexcept { return asked.isKnown ? asked.charset : AskForCharset(); }

CharsetScope::CharsetScope() noexcept : isOutermost(!asked.isKnown) {
  if (isOutermost) asked = {true, AskForCharset()};
}

CharsetScope::~CharsetScope() {
  if (isOutermost) asked.isKnown = false;
}

Charset LearnCharset() noexcept {
  const int errorBefore = errno;
  const Charset learnt{MB_CUR_MAX == 1 ? CharsetKind::SingleByte : CharsetKind::MultiByte, ProbeAsciiIsPlain()};
  errno = errorBefore;
  return learnt;
}

std::size_t CharacterLength(Charset charset, const char* text, std::size_t limit) noexcept {
  if (charset.kind == CharsetKind::SingleByte) return 1;
  if (charset.asciiIsPlain && static_cast<unsigned char>(*text) < 0x80) return 1;
  std::mbstate_t state{};
  const std::size_t length = std::mbrlen(text, strnlen(text, std::min<std::size_t>(limit, MB_CUR_MAX)), &state);
  const bool isCharacter = length != static_cast<std::size_t>(-1) && length != static_cast<std::size_t>(-2);
  return isCharacter ? std::max<std::size_t>(length, 1) : 1;
}

PlainText CurrentPlainText() noexcept {
  const Charset charset = CurrentCharset();
  if (charset.kind == CharsetKind::Utf8) return PlainText::Utf8;
  return charset.asciiIsPlain ? PlainText::Ascii : PlainText::None;
}

} // namespace platform
