#include "platform/posix/charset.h"

#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "platform/ascii_probe.h"
#include "platform/platform.h"

namespace platform {
namespace {

Charset LearnCharset() noexcept {
  const int errorBefore = errno;
  const Charset learnt{MB_CUR_MAX == 1 ? CharsetKind::SingleByte : CharsetKind::MultiByte, ProbeAsciiIsPlain()};
  errno = errorBefore;
  return learnt;
}

// Remembers the last one by its name: a locale's address says nothing, it can be freed and used again.
Charset RecallCharset(const char* codeset) noexcept {
  struct Memory {
    char codeset[64];
    Charset charset;
  };
  static thread_local constinit Memory memory{};
  if (std::strcmp(memory.codeset, codeset) == 0) return memory.charset;

  const Charset learnt = LearnCharset();
  const std::size_t length = std::strlen(codeset);
  if (length < sizeof memory.codeset) {
    std::memcpy(memory.codeset, codeset, length + 1);
    memory.charset = learnt;
  }
  return learnt;
}

} // namespace

Charset CurrentCharset() noexcept {
  const char* codeset = nl_langinfo(CODESET);
  if (*codeset == 'U' && std::strcmp(codeset, "UTF-8") == 0) return {CharsetKind::Utf8, true};
  if (std::strcmp(codeset, "ANSI_X3.4-1968") == 0) return {CharsetKind::SingleByte, true};
  // An empty name must not meet the empty memory of a new thread.
  return *codeset != '\0' ? RecallCharset(codeset) : LearnCharset();
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
