// The system's own tables of character encodings.
#ifndef TARVIK_PLATFORM_ENCODING_CONVERTER_H
#define TARVIK_PLATFORM_ENCODING_CONVERTER_H

#include <cstddef>
#include <string_view>

namespace platform {

// Converts single characters of one encoding to UTF-8. Does not depend on the locale, nor change it. Each character is
// converted by itself, so that the same bytes mean the same wherever they stand. Converters take more than they should:
// bytes that are no character may come out as control or private-use characters, which the caller has to refuse.
class EncodingConverter {
 public:
  // name: in upper case, of the characters that XML allows in the name of an encoding. Throws std::bad_alloc.
  explicit EncodingConverter(const char* name);
  ~EncodingConverter();
  EncodingConverter(EncodingConverter&&) = delete;

  bool IsKnown() const noexcept { return handle != nullptr; }

  // Writes the character that `bytes` are to utf8 and returns its length in bytes; 0 when they are not whole characters
  // or come to more than `capacity` bytes.
  // REQUIRES: IsKnown().
  std::size_t Convert(std::string_view bytes, char* utf8, std::size_t capacity) const noexcept;

 private:
  void* handle; // iconv's descriptor, or the number of a Windows code page; null when the encoding is not known
};

} // namespace platform

#endif
