// The system's own tables of character encodings.
#ifndef TARVIK_PLATFORM_ENCODING_CONVERTER_H
#define TARVIK_PLATFORM_ENCODING_CONVERTER_H

#include <cstddef>
#include <string_view>

namespace platform {

// Converts single characters of one encoding to UTF-8, independently of the locale. Each character
// is converted separately, so that the same bytes give the same character everywhere. The system's
// converters accept too much: bytes that are not a character may give control or private-use
// characters, which the caller has to reject.
class EncodingConverter {
 public:
  // name: in upper case, of characters that XML allows in an encoding's name. Throws
  // std::bad_alloc.
  explicit EncodingConverter(const char* name);
  ~EncodingConverter();
  EncodingConverter(EncodingConverter&&) = delete;

  bool IsKnown() const noexcept { return handle != nullptr; }

  // Writes the character that `bytes` encode to utf8 and returns its length in bytes; 0 if they are
  // not a complete character or if it takes more than `capacity` bytes. REQUIRES: IsKnown().
  std::size_t Convert(std::string_view bytes, char* utf8, std::size_t capacity) const noexcept;

 private:
  void* handle; // iconv's descriptor, or the number of a Windows code page; null if the encoding is
                // unknown
};

} // namespace platform

#endif
