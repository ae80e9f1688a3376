// The character set of one call of the library.
#ifndef TARVIK_TEXT_CHARSET_SCOPE_H
#define TARVIK_TEXT_CHARSET_SCOPE_H

#include "host/corekit/text_mode.h"
#include "platform/charset.h"

// Every exported function that handles text begins with one, so that a call works to its end in the
// character set in which it began: UTF-8 if corekit::SetUtf8 says so, else the locale's. Inside
// another scope it changes nothing. Querying the locale for each text would take a sixth of a
// search's time.
class CharsetScope {
 public:
  CharsetScope() noexcept : isOutermost(!platform::charsetInScope) {
    if (isOutermost) platform::charsetInScope = Query();
  }
  ~CharsetScope() {
    if (isOutermost) platform::charsetInScope.reset();
  }
  CharsetScope(CharsetScope&&) = delete;

 private:
  static platform::Charset Query() noexcept {
    if (corekit::Utf8IsOn()) return platform::forcedUtf8;
    return platform::QueryCharset();
  }

  const bool isOutermost;
};

#endif
