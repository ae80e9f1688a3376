#ifndef TARVIK_HOST_OSTRUMXML_DECODE_H
#define TARVIK_HOST_OSTRUMXML_DECODE_H

#include <cstddef>
#include <optional>
#include <string>

#include "host/ostrumxml/encoding.h"

namespace Ostrum {

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
