#ifndef TARVIK_ITEMS_SET_REQUEST_H
#define TARVIK_ITEMS_SET_REQUEST_H

#include <optional>
#include <string>
#include <vector>

#include "registry/record.h"

// A caller's text, as given and in UTF-8. Both are needed: log lines, searches and keys take it as given.
struct SetText {
  std::string given;
  std::string utf8;
};

struct SetAttribute {
  SetText name;
  SetText value;
};

// An element on the way from the root to the item, the root first, and the attributes that it gets.
struct SetStep {
  std::string component; // of the path; empty for the root
  SetText name;          // empty for the root
  std::vector<SetAttribute> attributes;
};

// What a call of SetXMLItem asks for: cut, checked and converted as a whole, before any of it is done. It depends on no document, so
// that it can be carried out on another one as well.
struct SetRequest {
  std::vector<SetStep> steps;      // at least the root's
  std::optional<std::string> text; // for the last step's element, in UTF-8
  std::string target;              // equal for requests that set the same item
  std::size_t longestKey = 0;      // in the element map, of an element that the request leads to
};

// Throws std::invalid_argument when a name or value can't be carried by XML or is no text in the locale, or a component has no
// name; std::length_error when the texts are longer than a path can be; std::bad_alloc. Nothing is changed.
SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName, const char* itemType,
                           const char* value);

#endif
