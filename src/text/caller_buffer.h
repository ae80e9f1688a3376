// Storing strings in buffers of fixed capacity, truncated to fit.
#ifndef TARVIK_TEXT_CALLER_BUFFER_H
#define TARVIK_TEXT_CALLER_BUFFER_H

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>

// Joins the pieces in buffer, never beyond capacity, always terminated (nothing is written when
// capacity is 0); bytes after the terminating zero stay. A single piece may lie in the
// buffer itself. Returns the number of bytes stored, negative if the text was truncated.
inline int FormatToBuffer(char* buffer, const std::size_t& capacity,
                          std::initializer_list<std::string_view> pieces) noexcept {
  if (capacity == 0) return -1;
  assert(buffer != nullptr);
  std::size_t length = 0;
  bool isCut = false;
  for (const std::string_view piece : pieces) {
    const std::size_t fitting = std::min(piece.size(), capacity - 1 - length);
    std::memmove(buffer + length, piece.data(), fitting);
    length += fitting;
    isCut = isCut || fitting < piece.size();
  }
  assert(length < capacity);
  buffer[length] = '\0';
  if (isCut) return -1;
  return static_cast<int>(std::min<std::size_t>(length, INT_MAX));
}

// A caller's buffer for a text: none at all when it is null or has no capacity.
class CallerBuffer {
 public:
  CallerBuffer(char* text, std::uint32_t capacity) noexcept : text(text), capacity(capacity) {}

  bool IsWanted() const noexcept { return text != nullptr && capacity > 0; }
  std::uint32_t Capacity() const noexcept { return capacity; }
  // Stores the answer, truncated to capacity - 1 bytes. Without a buffer, nothing. An argument may
  // lie in the buffer.
  void Store(std::string_view answer) const noexcept {
    if (IsWanted()) FormatToBuffer(text, capacity, {answer});
  }
  // The text as it now stands: what the caller gave, or what was stored.
  const char* Text() const noexcept { return text; }

 private:
  char* text;
  std::uint32_t capacity;
};

#endif
