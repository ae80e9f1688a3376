#ifndef TARVIK_QUERIES_GROUP_SEARCH_H
#define TARVIK_QUERIES_GROUP_SEARCH_H

#include "queries/open_document.h"

// Looks through the groups of a path for the first, from position on (counted from 1), whose item is the wanted text; a
// null text matches none. On entry group holds the parent's ID, on return the ID of the group found, or what the search
// that ended gave. position moves behind the last group tried. Gives XmlSuccess when found, else the code of the call
// that ended the search: XmlNotFound when the groups ran out or one lacks the item.
std::uint32_t FindGroupByItemValue(const OpenDocument& document, const char* path, QueryText& group, const char* wanted,
                                   const QueryItem& item, std::uint32_t& position);

#endif
