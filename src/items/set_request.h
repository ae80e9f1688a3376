// The arguments of SetXMLItem, completely parsed, checked and converted before anything is changed.
#ifndef TARVIK_ITEMS_SET_REQUEST_H
#define TARVIK_ITEMS_SET_REQUEST_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "registry/record.h"

// A caller's string, as given, for log lines, searches and keys, and in UTF-8, for the document.
struct SetText {
  std::string given;
  std::string utf8;
};

struct SetAttribute {
  SetText name;
  SetText value;
};

// An element on the path from the root to the item, and the attributes to be set on it.
struct SetStep {
  std::string component; // of the path; empty for the root
  SetText name;          // empty for the root
  std::vector<SetAttribute> attributes;
  std::uint32_t number = 0; // among its siblings of its name, from 1; known after the search
};

struct SetRequest {
  std::vector<SetStep> steps;      // from the root, which is always there
  std::optional<std::string> text; // for the last step's element, in UTF-8
  std::string target;              // identifies what is set; known after the search
  std::size_t maxKeyLength = 0;    // of the keys that can be added to the map, in bytes
};

static_assert(std::is_nothrow_move_constructible_v<SetRequest>); // so that a list of them can grow

class InvalidElementName : public std::invalid_argument {
  using std::invalid_argument::invalid_argument;
};

// Throws std::invalid_argument if a name or value is not allowed in XML or is not text in the
// locale, or if a component has no name; std::length_error if the path is too long; std::bad_alloc.
SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName,
                           const char* itemType, const char* value);

#endif
