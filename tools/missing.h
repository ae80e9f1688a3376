#ifndef TARVIK_TOOLS_MISSING_H
#define TARVIK_TOOLS_MISSING_H

#include "matches.h"

// Why the path names nothing, and what is there instead; for example "no element Time in Network;
// there is Timeout". followed: the number of its steps for which there is an element.
std::string WhyMissing(const Path& path, std::size_t followed, Matcher& matcher);

// For a name such as Server3, which the library's functions take for a number: Server[3], if the
// parent has children called Server. Otherwise empty.
std::string MisreadNumber(const Element& parent, std::string_view name);

#endif
