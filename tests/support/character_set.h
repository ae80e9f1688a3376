// Character sets to test with.
#ifndef TARVIK_TESTS_SUPPORT_CHARACTER_SET_H
#define TARVIK_TESTS_SUPPORT_CHARACTER_SET_H

#include "platform/charset.h"
#include "support/locale_guard.h"

// Those of locales.
inline const char* const latin = hasUtf8 ? "ISO-8859-1" : ".1252";
inline const char* const japanese = multibyteLocale; // a backslash ends common characters
inline const char* const turkish =
    hasUtf8 ? "tr_TR" : "Turkish_Turkey.1254"; // has its own letter i
// Not on Windows: its C library has no UTF-8, and no character set with the yen sign in the
// backslash's place.
inline const char* const unicode = hasUtf8 ? "C.UTF-8" : nullptr;
inline const char* const yen = hasUtf8 ? "SHIFT_JIS" : nullptr;
inline const char* const vietnamese = hasUtf8 ? "TCVN5712-1" : nullptr; // accents follow vowels
// Those of a call: UTF-8 by a program's choice, in a locale of single bytes; and the code page of
// UTF-8, for which Windows reports no replaced character, but whose locale only some versions have.
inline const char* const forced = "forced UTF-8";
inline const char* const codePage = hasUtf8 ? nullptr : "code page 65001";

// Selects the character set. False for null.
inline bool UseCharset(const char* name) {
  using platform::charsetInScope, platform::PlainText;
  if (name == nullptr) return false;
  charsetInScope.reset();
  if (name == forced) charsetInScope = platform::forcedUtf8;
  if (name == codePage) charsetInScope = {platform::utf8Id, PlainText::None, false, false};
  UseLocale(charsetInScope ? latin : name);
  return true;
}

#endif
