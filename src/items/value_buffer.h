#ifndef TARVIK_ITEMS_VALUE_BUFFER_H
#define TARVIK_ITEMS_VALUE_BUFFER_H

#include <cstdint>

#include "text/convert.h"

// A caller's buffer for a text: none at all when it is null or has no capacity.
class ValueBuffer {
 public:
  ValueBuffer(char* text, std::uint32_t capacity) noexcept : text(text), capacity(capacity) {}

  bool IsWanted() const noexcept { return text != nullptr && capacity > 0; }
  // Stores the value, cut to capacity - 1 bytes. What stands behind the terminating zero stays. Without a buffer,
  // nothing.
  void Store(const char* value) const noexcept {
    if (IsWanted()) FormatToBuffer(text, capacity, "%s", value);
  }
  // The text as it now stands. REQUIRES: IsWanted(), and a value was stored.
  const char* Text() const noexcept { return text; }

 private:
  char* text;
  std::uint32_t capacity;
};

#endif
