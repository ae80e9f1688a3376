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
};

// The character set of the calling thread's locale. Follows every change of the locale at once.
Charset AskForCharset() noexcept;

// The character set that the outermost CharsetScope of this thread found. The GNU C library
// reserves room in each thread for small variables of libraries that are loaded late; elsewhere
// this faster access could fail.
#ifdef __GLIBC__
[[gnu::tls_model("initial-exec")]]
#endif
extern thread_local constinit std::optional<Charset>
    charsetInScope;

// The same; determined only once while a CharsetScope lives.
inline Charset CurrentCharset() noexcept {
  return charsetInScope ? *charsetInScope : AskForCharset();
}

// A call of the library works in one character set. Determining it for each text would take a sixth
// of a search's time.
class CharsetScope {
 public:
  CharsetScope() noexcept : isOutermost(!charsetInScope) {
    if (isOutermost) charsetInScope = AskForCharset();
  }
  ~CharsetScope() {
    if (isOutermost) charsetInScope.reset();
  }
  CharsetScope(CharsetScope&&) = delete;

 private:
  const bool isOutermost;
};

// Determines the character set of that id by test conversions. This takes microseconds, so the
// caller should remember the result.
Charset LearnCharset(std::uint32_t id) noexcept;

} // namespace platform

#endif
