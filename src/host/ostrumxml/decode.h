#ifndef TARVIK_HOST_OSTRUMXML_DECODE_H
#define TARVIK_HOST_OSTRUMXML_DECODE_H

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

// Why bytes are not decoded: the encoding is not supported, or they are not valid in it.
struct DecodeFailure {
  static constexpr std::size_t noOffset = std::string::npos;

  std::string reason;            // in ASCII; says the offset, too
  std::size_t offset = noOffset; // of the first byte that is not valid
};

// Turns a file's bytes into UTF-8. A byte-order mark tells the encoding, or the XML declaration, which then says UTF-8. Gives
// nothing, or why not; utf8 is then of unspecified content. encoding receives the encoding found, NO_ENCODING for those that
// have no value there.
std::optional<DecodeFailure> DecodeFile(std::string&& bytes, std::string& utf8, UTF_ENCODINGS& encoding);

} // namespace Ostrum

#endif
