// What the multibyte functions must know of the locale's character set.
#ifndef TARVIK_PLATFORM_CHARSET_H
#define TARVIK_PLATFORM_CHARSET_H

#include "platform/platform.h"

namespace platform {

struct Charset {
  PlainText plain;
  // Every byte is a character. Where it is not, a second byte can look like a character of its own, except in UTF-8.
  bool isSingleByte;
};

// The character set of the calling thread's locale, as each system tells it. Follows every change of the locale at once.
Charset AskForCharset() noexcept;

// The same, asked for once while a CharsetScope lives.
Charset CurrentCharset() noexcept;

// A call of the library works in one character set. Asking for it a dozen times, as a search does, would take a sixth of the
// time.
class CharsetScope {
 public:
  CharsetScope() noexcept;
  ~CharsetScope();
  CharsetScope(const CharsetScope&) = delete;
  CharsetScope& operator=(const CharsetScope&) = delete;

 private:
  const bool isOutermost;
};

// Finds it out by asking the conversions themselves, which takes microseconds: remember the answer.
Charset LearnCharset() noexcept;

} // namespace platform

#endif
