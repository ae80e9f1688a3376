// What the multibyte functions must know of the locale's character set.
#ifndef TARVIK_PLATFORM_CHARSET_H
#define TARVIK_PLATFORM_CHARSET_H

#include <cstdint>
#include <optional>

namespace platform {

// Which text is the same in UTF-8 and in the locale's character set, so that it needs no
// conversion.
enum class PlainText : std::uint8_t {
  None,
  Ascii, // each of the 127 ASCII characters is the same single byte
  Utf8,  // all text: the character set is UTF-8
};

struct Charset {
  // Equal for character sets that can represent the same text; never 0.
  std::uint32_t id;
  PlainText plain;
  // Whether every byte is a character. If not, a second byte can look like another character,
  // except in UTF-8.
  bool isSingleByte;
  // Whether text is UTF-8 although the locale may differ: the C library's functions must not see
  // it.
  bool isForcedUtf8;
};

// The number of Windows' code page.
inline constexpr std::uint32_t utf8Id = 65001;
inline constexpr Charset forcedUtf8{utf8Id, PlainText::Utf8, false, true};

// The character set of the calling thread's locale. Follows every change of the locale at once.
Charset QueryCharset() noexcept;

// The character set of the library's call on this thread, if one is being executed: set by
// CharsetScope (text/charset_scope.h). The GNU C library
// reserves room in each thread for small variables of libraries that are loaded late; elsewhere
// this faster access could fail.
#ifdef __GLIBC__
[[gnu::tls_model("initial-exec")]]
#endif
extern thread_local constinit std::optional<Charset>
    charsetInScope;

// The character set of the current call; outside of calls, the locale's.
inline Charset CurrentCharset() noexcept {
  return charsetInScope ? *charsetInScope : QueryCharset();
}

// Determines the locale's character set, which has that id, by test conversions. This takes
// microseconds, so QueryCharset remembers the result.
Charset ProbeCharset(std::uint32_t id) noexcept;

} // namespace platform

#endif
