// Wide text as multibyte text for the length of a scope.
#ifndef TARVIK_TEXT_NARROW_NAME_H
#define TARVIK_TEXT_NARROW_NAME_H

#include <cstdint>
#include <string>

#include "platform/platform.h"
#include "text/convert.h"

// Does what ConvertToMultiByte does, its log lines included, and keeps the result. Most names are short and plain ASCII:
// those are narrowed in place, without an allocation. Values can be converted so as well.
class NarrowName {
 public:
  // Throws std::bad_alloc.
  explicit NarrowName(const std::wstring& name) {
    if (name.size() < sizeof inPlace && platform::AsciiIsPlain() && NarrowInPlace(name)) return;
    converted.reset(ConvertToMultiByte(name));
    text = converted.get();
  }
  NarrowName(const NarrowName&) = delete;
  NarrowName& operator=(const NarrowName&) = delete;

  // Null when the name can't be converted. Lives as long as this object.
  const char* Text() const noexcept { return text; }

 private:
  bool NarrowInPlace(const std::wstring& name) noexcept {
    char* end = inPlace;
    for (const wchar_t unit : name) {
      if (static_cast<std::uint32_t>(unit) >= 0x80) return false;
      *end++ = static_cast<char>(unit);
    }
    *end = '\0';
    return true;
  }

  char inPlace[64];
  const char* text = inPlace;
  MultiByteText converted;
};

#endif
