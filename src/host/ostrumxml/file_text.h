#ifndef TARVIK_HOST_OSTRUMXML_FILE_TEXT_H
#define TARVIK_HOST_OSTRUMXML_FILE_TEXT_H

#include <string>

#include "host/ostrumxml/encoding.h"

namespace Ostrum {

// Turns a file's bytes into text, telling the encoding by its byte-order mark and its XML declaration. False when the bytes
// are not valid in it, or it is none of those that are understood.
bool DecodeFile(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding);

} // namespace Ostrum

#endif
