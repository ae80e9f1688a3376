// Finding the n-th child element of a name.
#ifndef TARVIK_ITEMS_CHILD_SEARCH_H
#define TARVIK_ITEMS_CHILD_SEARCH_H

#include <cstdint>

#include "host/ostrumxml/node.h"

// The index-th child element (from 1) of that exact name; null when there is none, or index is negative. Index 0 takes
// the first child, whatever its name. A name that can't be converted is no match and logs its line for every child that
// the search passes. Throws std::bad_alloc.
Ostrum::Element* FindChild(const Ostrum::Element& parent, const char* name, std::int32_t index);

// The same, counting only children that have the attribute. A null attribute name is had by none.
Ostrum::Element* FindChildWithAttribute(const Ostrum::Element& parent, const char* name, std::int32_t index,
                                        const wchar_t* attributeName);

#endif
