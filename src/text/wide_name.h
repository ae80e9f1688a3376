// Multibyte text as wide text for the length of a scope.
#ifndef TARVIK_TEXT_WIDE_NAME_H
#define TARVIK_TEXT_WIDE_NAME_H

#include <string>

#include "platform/platform.h"
#include "text/convert.h"

// Does what ConvertToUnicode does, its log lines included, and keeps the result. Short plain ASCII names are widened in
// place, without an allocation.
class WideName {
 public:
  // Throws std::bad_alloc.
  explicit WideName(const char* name) {
    if (platform::AsciiIsPlain() && WidenInPlace(name)) return;
    converted.reset(ConvertToUnicode(name));
    text = converted.get();
  }
  WideName(const WideName&) = delete;
  WideName& operator=(const WideName&) = delete;

  // Null when the name can't be converted. Lives as long as this object.
  const wchar_t* Text() const noexcept { return text; }

 private:
  bool WidenInPlace(const char* name) noexcept {
    for (wchar_t& unit : inPlace) {
      const auto byte = static_cast<unsigned char>(*name++);
      if (byte >= 0x80) return false;
      unit = static_cast<wchar_t>(byte);
      if (byte == 0) return true;
    }
    return false;
  }

  wchar_t inPlace[32];
  const wchar_t* text = inPlace;
  WideText converted;
};

#endif
