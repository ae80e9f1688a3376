// The system's own tables of character encodings.
#ifndef TARVIK_PLATFORM_ENCODING_CONVERTER_H
#define TARVIK_PLATFORM_ENCODING_CONVERTER_H

#include <cstddef>
#include <functional>
#include <string_view>

namespace platform {

// Writes the character of one encoding that `bytes` encode to utf8 and returns its length in bytes;
// 0 if they are not a complete character or if it takes more than `capacity` bytes. Each character
// is converted separately and independently of the locale, so that the same bytes give the same
// character everywhere. The system's converters accept too much: bytes that are not a character may
// give control or private-use characters, which the caller has to reject.
using EncodingConverter =
    std::function<std::size_t(std::string_view bytes, char* utf8, std::size_t capacity)>;

// name: in upper case, of characters that XML allows in an encoding's name. Empty if the system
// does not know the encoding. Throws std::bad_alloc.
EncodingConverter OpenEncoding(const char* name);

} // namespace platform

#endif
