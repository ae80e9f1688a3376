#ifndef TARVIK_ITEMS_VALUE_BUFFER_H
#define TARVIK_ITEMS_VALUE_BUFFER_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

// A caller's buffer for a text: none at all when it is null or has no capacity.
class ValueBuffer {
 public:
  ValueBuffer(char* text, std::uint32_t capacity) noexcept : text(text), capacity(capacity) {}

  bool IsWanted() const noexcept { return text != nullptr && capacity > 0; }
  std::uint32_t Capacity() const noexcept { return capacity; }
  // Stores the value, cut to capacity - 1 bytes. What stands behind the terminating zero stays. Without a buffer,
  // nothing.
  void Store(std::string_view value) const noexcept {
    if (!IsWanted()) return;
    const std::size_t length = std::min<std::size_t>(value.size(), capacity - 1);
    std::memmove(text, value.data(), length); // an argument may lie in the buffer
    text[length] = '\0';
  }
  // The text as it now stands. REQUIRES: IsWanted(), and a value was stored.
  const char* Text() const noexcept { return text; }

 private:
  char* text;
  std::uint32_t capacity;
};

#endif
