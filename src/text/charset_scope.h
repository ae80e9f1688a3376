// The character set of one call of the library.
#ifndef TARVIK_TEXT_CHARSET_SCOPE_H
#define TARVIK_TEXT_CHARSET_SCOPE_H

#include "host/corekit/private.h"
#include "platform/charset.h"

// Every exported function that handles text begins with one, so that a call works to its end in the
// character set in which it began: UTF-8 if corekit::SetUtf8 says so, else the locale's. Inside
// another scope it changes nothing. Querying the locale for each text would take a sixth of a
// search's time.
class CharsetScope {
 public:
  CharsetScope() noexcept : before(platform::charsetInScope) {
    if (before) return;
    platform::charsetInScope = platform::forcedUtf8;
    if (!corekit::Utf8IsOn()) platform::charsetInScope = platform::QueryCharset();
  }
  ~CharsetScope() { platform::charsetInScope = before; }
  CharsetScope(CharsetScope&&) = delete;

 private:
  const std::optional<platform::Charset> before;
};

#endif
