// Where an element stands in its document.
#ifndef TARVIK_TOOLS_PLACE_H
#define TARVIK_TOOLS_PLACE_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/ostrumxml/nodes/node.h"

using Ostrum::Element;

// The elements from the root to one element, both included.
using Place = std::vector<Element>;

// The text of the place's element, or the value of its attribute if one is named.
std::string ValueAt(const Place& place, std::string_view attribute);

// A name with its number among several of that name, for example Folder[2].
std::string NumberedName(std::string_view name, std::uint32_t number, std::uint32_t total);

// The path of a place, or of an attribute there if one is named, with a number wherever there are
// several of a name. The root's path is ".".
std::string PathOf(const Place& place, std::string_view attribute = {});

#endif
