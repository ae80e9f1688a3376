// The keywords that tell an element item from an attribute item. Reading takes every text that begins with a keyword,
// letter case apart; writing takes the keyword alone.
#ifndef TARVIK_ITEMS_ITEM_TYPE_H
#define TARVIK_ITEMS_ITEM_TYPE_H

#include <cstring>

#include "platform/platform.h"

inline constexpr char elementKeyword[] = "ELEMENT";
inline constexpr char attributeKeyword[] = "ATTRIBUTE";

template <std::size_t size>
bool BeginsWithKeyword(const char* type, const char (&keyword)[size]) noexcept {
  // Nearly every caller writes the keyword in capitals, and comparing bytes costs far less than folding characters.
  return std::strcmp(type, keyword) == 0 || platform::MbsCompareBytesNoCase(type, keyword, size - 1) == 0;
}

inline bool IsKeyword(const char* type, const char* keyword) noexcept { return std::strcmp(type, keyword) == 0; }

#endif
