#ifndef TARVIK_PATHS_PATH_SEARCH_H
#define TARVIK_PATHS_PATH_SEARCH_H

#include <cstdint>

#include "host/ostrumxml/node.h"

// How a path search ended, for the one caller that must tell a miss from a failure.
enum class SearchEnd { Found, Missing, OutOfMemory, Failed };

// Resolves a path, given without the root's name, below start: depth first, the first match at each level, the
// occurrence-th match (from 1) of the last component. Gives Element::null when the path names nothing or the search failed.
Ostrum::Element* FindElementByPath(Ostrum::Element* start, const char* path, std::uint32_t occurrence,
                                   SearchEnd* end = nullptr) noexcept;

#endif
