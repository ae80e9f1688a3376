#ifndef TARVIK_HOST_OSTRUMXML_READ_DECODE_H
#define TARVIK_HOST_OSTRUMXML_READ_DECODE_H

#include <string>
#include <string_view>

namespace Ostrum {

enum UTF_ENCODINGS : int {
  EBCDIC = 0,
  UCS_4B = 1,
  UCS_4L = 2,
  US_ASCII = 3,
  UTF_8 = 4,
  UTF_16B = 5,
  UTF_16L = 6,
  NO_ENCODING = 999,
};

// Converts a file's bytes to UTF-8. A byte-order mark or the XML declaration gives the encoding; a
// declaration of another encoding is changed to UTF-8. Bytes that are in UTF-8 are returned as they
// are, not checked. encoding receives the encoding found, NO_ENCODING if it has no value. Throws
// ReadFailure if the encoding is not supported or the bytes are not valid in it, and
// std::bad_alloc.
std::string DecodeFile(std::string bytes, UTF_ENCODINGS& encoding);

// Throws ReadFailure, with the place of the first invalid byte, unless the text is valid UTF-8.
void RequireUtf8(std::string_view text);

} // namespace Ostrum

#endif
