// Per document, the elements that are already known, by key.
#ifndef TARVIK_PATHS_ELEMENT_MAP_H
#define TARVIK_PATHS_ELEMENT_MAP_H

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "host/ostrumxml/node.h"

// Refers to an element that the document owns, or to Ostrum::Element::null.
class CElementRef {
 public:
  explicit CElementRef(Ostrum::Element& element) noexcept : element(&element) {}
  virtual ~CElementRef() = default;

  Ostrum::Element* element;
};

// Keys are compared byte for byte: the root's name, group IDs, and the paths that SetXMLItem built. The map owns its
// references; ReleaseGlobalMapMemory destroys them.
using ElementMap = std::map<std::string, CElementRef*, std::less<>>;

// The element under the key; null when there is no such entry.
Ostrum::Element* FindInElementMap(const ElementMap& map, std::string_view key);

// Enters a new reference to the element under the key; a key that is present keeps its entry. Throws std::bad_alloc, the map
// then being as it was.
void InsertIntoElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element);
// The same after a search of one's own, which it saves repeating. REQUIRES: position is map.lower_bound(key), and the key is
// not there.
void InsertIntoElementMap(ElementMap& map, ElementMap::const_iterator position, std::string_view key,
                          Ostrum::Element& element);

// Enters a new reference to the element under the key, in the place of one that is there. Throws std::bad_alloc, the map
// then being as it was.
void ReplaceInElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element);

#endif
