#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "text/convert.h"

namespace {

// Appends to a buffer and notices what does not fit.
class Writer {
 public:
  // REQUIRES: capacity > 0.
  Writer(char* buffer, std::size_t capacity) noexcept : start(buffer), next(buffer), last(buffer + capacity - 1) {}

  void Append(const char* text, std::size_t length) noexcept {
    const std::size_t fitting = std::min(length, static_cast<std::size_t>(last - next));
    std::memmove(next, text, fitting); // a caller may hand its buffer's own text back to us
    next += fitting;
    cut = cut || fitting < length;
  }

  void Append(const char* text) noexcept {
    // One byte more than fits tells whether the text is cut; how long it goes on does not matter.
    const auto room = static_cast<std::size_t>(last - next) + 1;
    const void* const end = std::memchr(text, '\0', room);
    Append(text, end == nullptr ? room : static_cast<std::size_t>(static_cast<const char*>(end) - text));
  }

  void Append(int number) noexcept {
    char digits[12];
    Append(digits, static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits));
  }

  int Finish() noexcept {
    *next = '\0';
    return cut ? -1 : static_cast<int>(std::min<std::ptrdiff_t>(next - start, INT_MAX));
  }

 private:
  char* start;
  char* next;
  char* last;
  bool cut = false;
};

bool HasOnlyTextsAndNumbers(const char* format) noexcept {
  for (; *format != '\0'; ++format) {
    if (*format != '%') continue;
    ++format;
    if (*format != 's' && *format != 'd') return false;
  }
  return true;
}

// The formats in use hold only "%s" and "%d". Formatting those by hand takes a quarter of vsnprintf's time, which every group
// and every item that is read would pay.
int FormatTextsAndNumbers(char* buffer, std::size_t capacity, const char* format, std::va_list values) noexcept {
  Writer writer(buffer, capacity);
  for (; *format != '\0'; ++format) {
    if (*format != '%') {
      writer.Append(format, 1);
    } else if (*++format == 's') {
      writer.Append(va_arg(values, const char*));
    } else {
      writer.Append(va_arg(values, int));
    }
  }
  return writer.Finish();
}

} // namespace

int FormatToBuffer(char* buffer, const std::size_t& capacity, const char* format, ...) noexcept {
  if (capacity == 0) return -1;

  std::va_list values;
  va_start(values, format);
  int length;
  if (HasOnlyTextsAndNumbers(format)) {
    length = FormatTextsAndNumbers(buffer, capacity, format, values);
  } else {
    length = std::vsnprintf(buffer, capacity, format, values);
    if (length >= 0 && static_cast<std::size_t>(length) >= capacity) length = -1;
  }
  va_end(values);
  return length;
}
