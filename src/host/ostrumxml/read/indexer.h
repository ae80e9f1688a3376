#ifndef TARVIK_HOST_OSTRUMXML_READ_INDEXER_H
#define TARVIK_HOST_OSTRUMXML_READ_INDEXER_H

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/document.h"

namespace Ostrum {

struct ParseFailure {
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;   // from 1
  int column = 0; // from 1, in characters
};

// Runs the parser over a document's source and builds the index of its elements. Tells the failure
// when the source is no well-formed document, or out of proportion. Throws std::bad_alloc.
ParseFailure BuildIndex(DocumentData& data);

} // namespace Ostrum

#endif
