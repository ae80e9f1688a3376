#ifndef TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/nodes/child_index.h"

namespace Ostrum {

// A document's data with the indexes that searches built over it, by element.
struct IndexedDocument {
  explicit IndexedDocument(std::string text) : data(std::move(text)) {}

  DocumentData data;
  std::unordered_map<std::uint32_t, ChildIndex> childIndexes;
  std::unordered_map<std::uint32_t, TagIndex> tagIndexes;
  // The filters that accepted long values, by element and attribute; "" is the element's own text.
  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> acceptedValues;
};

} // namespace Ostrum

#endif
