// The locale's character set, asked for at every call: programs change their locale at any time,
// also on other threads.
#include "platform/charset.h"

#include <langinfo.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

#include "platform/platform.h"

namespace platform {
namespace {

// Byte by byte, since a call takes longer than that, and no further than the text reaches.
template <std::size_t size>
bool Equals(const char* text, const char (&name)[size]) noexcept {
  for (std::size_t i = 0; i < size; ++i) {
    if (text[i] != name[i]) return false;
  }
  return true;
}

constexpr std::uint32_t asciiId = 2;
static_assert((utf8Id & 4U) == 0);

std::uint32_t HashName(const char* codeset) noexcept {
  const std::size_t hash = std::hash<std::string_view>()(codeset);
  return static_cast<std::uint32_t>(hash) | 4U; // differs from the other ids
}

// Remembers the last one by its name: a locale's address says nothing, it can be freed and used
// again. Inlined, it would cost the common charsets the saving of its registers.
[[gnu::noinline]] Charset CachedCharset(const char* codeset) noexcept {
  struct Memory {
    char codeset[64];
    Charset charset;
  };
  static thread_local constinit Memory memory{};
  // An empty name would match the memory's initial state.
  if (*codeset != '\0' && std::strcmp(memory.codeset, codeset) == 0) return memory.charset;

  const Charset probed = ProbeCharset(HashName(codeset));
  const std::size_t length = std::strlen(codeset);
  if (length < sizeof memory.codeset) {
    std::memcpy(memory.codeset, codeset, length + 1);
    memory.charset = probed;
  }
  return probed;
}

} // namespace

// The C library has no cheaper question that a change of the locale on another thread reaches at
// once.
Charset QueryCharset() noexcept {
  const char* const codeset = nl_langinfo(CODESET);
  if (Equals(codeset, "UTF-8")) return {utf8Id, PlainText::Utf8, false, false};
  if (Equals(codeset, "ANSI_X3.4-1968"))
    return {asciiId, PlainText::Ascii, true, false}; // the locale "C"
  return CachedCharset(codeset);
}

// The C library's conversions are exact.
std::size_t WideToMbs(char* target, const wchar_t* source, std::size_t capacity) noexcept {
  return std::wcstombs(target, source, capacity);
}

std::size_t MbsToWide(wchar_t* target, const char* source, std::size_t capacity) noexcept {
  return std::mbstowcs(target, source, capacity);
}

} // namespace platform
