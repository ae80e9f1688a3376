#ifndef TARVIK_HOST_OSTRUMXML_READ_PLAIN_READER_H
#define TARVIK_HOST_OSTRUMXML_READ_PLAIN_READER_H

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// Checks a document's source, which must be valid UTF-8, and builds the index of its elements, much
// faster than the parser. True means that the source is well-formed and the index complete. False
// means "unknown", since the source is malformed or has something unusual; the index is then to be
// discarded. Throws std::bad_alloc. Has a source file of its own, so that tests can replace it.
bool ReadPlainly(DocumentData& data);

} // namespace Ostrum

#endif
