#ifndef TARVIK_HOST_OSTRUMXML_DECODE_H
#define TARVIK_HOST_OSTRUMXML_DECODE_H

#include <string>

#include "host/ostrumxml/encoding.h"

namespace Ostrum {

// Turns a file's bytes into UTF-8. A byte-order mark tells the encoding, or the XML declaration, which then says UTF-8. False,
// with a line in the log that says why, when the encoding is not supported or the bytes are not valid in it; utf8 is then of
// unspecified content. encoding receives the encoding found, NO_ENCODING for those that have no value there.
bool DecodeFile(std::string&& bytes, std::string& utf8, UTF_ENCODINGS& encoding);

} // namespace Ostrum

#endif
