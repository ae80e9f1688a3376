// What the multibyte functions must know of the locale's character set.
#ifndef TARVIK_PLATFORM_CHARSET_H
#define TARVIK_PLATFORM_CHARSET_H

#include <cstdint>
#include <optional>

namespace platform {

// Which text is the same in UTF-8 and in the current locale's character set, so that it needs no conversion.
enum class PlainText : std::uint8_t {
  None,
  Ascii, // each of the 127 ASCII characters stands for itself, as one byte
  Utf8,  // all text: the character set is UTF-8
};

struct Charset {
  PlainText plain;
  // Every byte is a character. Where it is not, a second byte can look like a character of its own, except in UTF-8.
  bool isSingleByte;
};

// The character set of the calling thread's locale, as each system tells it. Follows every change of the locale at once.
Charset AskForCharset() noexcept;

// What the outermost CharsetScope of this thread was told. GNU's C library keeps room in each thread for a few small variables of
// libraries that are loaded late; elsewhere the faster access could fail.
#ifdef __GLIBC__
[[gnu::tls_model("initial-exec")]]
#endif
extern thread_local constinit std::optional<Charset>
    charsetInScope;

// The same as AskForCharset, asked for once while a CharsetScope lives.
inline Charset CurrentCharset() noexcept { return charsetInScope ? *charsetInScope : AskForCharset(); }

// A call of the library works in one character set. Asking for it a dozen times, as a search does, would take a sixth of the
// time.
class CharsetScope {
 public:
  CharsetScope() noexcept : isOutermost(!charsetInScope) {
    if (isOutermost) charsetInScope = AskForCharset();
  }
  ~CharsetScope() {
    if (isOutermost) charsetInScope.reset();
  }
  CharsetScope(const CharsetScope&) = delete;
  CharsetScope& operator=(const CharsetScope&) = delete;

 private:
  const bool isOutermost;
};

// Finds it out by asking the conversions themselves, which takes microseconds: remember the answer.
Charset LearnCharset() noexcept;

} // namespace platform

#endif
