#ifndef TARVIK_ITEMS_SET_REQUEST_H
#define TARVIK_ITEMS_SET_REQUEST_H

#include <optional>
#include <string>

#include "registry/record.h"
#include "text/convert.h"

// What a call of SetXMLItem asks for, checked as a whole before any of it is done.
struct SetRequest {
  std::string path;          // without the root's name; an element item is its last component
  std::string attributeName; // of an attribute item; empty when none is set
  std::string attributeValue;
  std::optional<std::string> text; // of an element item, in UTF-8
  WideText fileName;               // where the document is saved
};

// Throws std::invalid_argument when a name or value can't be carried by XML or has no wide form, or a component has no
// name; std::length_error when the texts are longer than a path can be; std::bad_alloc. Nothing is changed.
SetRequest CheckSetRequest(const XmlFileRecord& record, const char* path, const char* itemName, const char* itemType,
                           const char* value);

#endif
