// The locale's character set, asked for at every call: programs change their locale at any time,
// also on other threads.
#include "platform/charset.h"

#include <langinfo.h>

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

#include "platform/platform.h"

namespace platform {
namespace {

std::uint32_t IdOf(std::string_view name) noexcept {
  if (name == "UTF-8") return utf8Id;
  static_assert((utf8Id & 4U) == 0);
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(name)) | 4U; // not utf8Id, not 0
}

} // namespace

// The C library has no cheaper question that a change of the locale on another thread reaches at
// once. The answer is remembered by the character set's name: a locale's address says nothing, it
// can be freed and used again.
Charset QueryCharset() noexcept {
  struct Known {
    char name[64];
    Charset charset;
  };
  static thread_local constinit Known last{"UTF-8", {utf8Id, PlainText::Utf8, false, false}};
  const char* const name = nl_langinfo(CODESET);
  if (std::strcmp(name, last.name) != 0) {
    last = {{}, ProbeCharset(IdOf(name))};
    std::string_view(name).copy(last.name, sizeof last.name - 1);
  }
  return last.charset;
}

// The C library's conversions are exact.
std::size_t WideToMbs(char* target, const wchar_t* source, std::size_t capacity) {
  assert(!CurrentCharset().isForcedUtf8);
  return std::wcstombs(target, source, capacity);
}

std::size_t MbsToWide(wchar_t* target, const char* source, std::size_t capacity) {
  assert(!CurrentCharset().isForcedUtf8);
  return std::mbstowcs(target, source, capacity);
}

} // namespace platform
