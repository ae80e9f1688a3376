#ifndef TARVIK_HOST_OSTRUMXML_READ_DECODE_H
#define TARVIK_HOST_OSTRUMXML_READ_DECODE_H

#include <cstddef>
#include <optional>
#include <string>

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

// Why bytes cannot be decoded: the encoding is not supported, or they are not valid in it.
struct DecodeFailure {
  std::string reason;                // in ASCII, includes the offset
  std::optional<std::size_t> offset; // of the first invalid byte
};

// Converts a file's bytes to UTF-8. A byte-order mark or the XML declaration gives the encoding; a
// declaration of another encoding is changed to UTF-8. Returns nothing on success, else the reason;
// utf8 then has unspecified content. encoding receives the encoding found, NO_ENCODING if it has no
// value.
std::optional<DecodeFailure> DecodeFile(std::string&& bytes, std::string& utf8,
                                        UTF_ENCODINGS& encoding);

} // namespace Ostrum

#endif
