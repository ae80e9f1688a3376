#ifndef TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_NODES_INDEXED_DOCUMENT_H

#include <cassert>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/nodes/child_index.h"

namespace Ostrum {

// A document's data with the indexes that searches built over it, by element.
struct IndexedDocument {
  explicit IndexedDocument(std::string text) : data(std::move(text)) {}

  DocumentData data;
  std::unordered_map<std::uint32_t, ChildIndex> childIndexes;
  // The attributes in tags that have very many, sorted by name.
  std::unordered_map<std::uint32_t, std::vector<RawAttribute>> tagIndexes;
  // The filters that accepted long values, by element and attribute; "" is the element's own text.
  // Forgotten when a text is set, but not when white space or nothing is added.
  std::map<std::pair<std::uint32_t, std::string>, std::uint32_t> acceptedValues;
};

inline DocumentData& Element::Data() const noexcept {
  assert(!IsNull());
  return document->data;
}

// An element of the same document; null for 0.
inline Element Element::Other(std::uint32_t element) const noexcept {
  if (element == 0) return {};
  return {*document, element};
}

} // namespace Ostrum

#endif
