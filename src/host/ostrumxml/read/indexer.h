#ifndef TARVIK_HOST_OSTRUMXML_READ_INDEXER_H
#define TARVIK_HOST_OSTRUMXML_READ_INDEXER_H

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/read/parse_failure.h"

namespace Ostrum {

// Runs the parser over a document's source and builds the index of its elements. Tells the failure
// when the source is no well-formed document, or out of proportion. Throws std::bad_alloc.
ParseFailure BuildIndex(DocumentData& data);

} // namespace Ostrum

#endif
