// Finding elements by names and paths in the caller's character set.
#ifndef TARVIK_PATHS_PATH_SEARCH_H
#define TARVIK_PATHS_PATH_SEARCH_H

#include <cstdint>
#include <exception>
#include <string_view>

#include "host/ostrumxml/nodes/node.h"

// All return the null element if there is no such child, and count from 1. The document finds the
// child by its index if the names are the same in the locale's character set, or if only one of
// them matches. Otherwise the children are walked over; a name that can't be converted does not
// match, and logs a line for each such child. Throw std::bad_alloc.

// The n-th child whose name is, or begins with, the text.
Ostrum::Element FindNthChild(const Ostrum::Element& parent, Ostrum::NameMatch match,
                             std::string_view text, std::uint32_t n);

// The n-th child of exactly that name that has the attribute. attributeName is in UTF-8; null
// matches no child.
Ostrum::Element FindNthChildWithAttribute(const Ostrum::Element& parent, std::string_view name,
                                          const std::string_view* attributeName, std::uint32_t n);

// The first child whose name begins with the text and that has the attribute, with a value that
// begins with the other text. An attribute name that can't be converted logs its line for every
// child whose name matches.
Ostrum::Element FindFirstChildWithValue(const Ostrum::Element& parent, std::string_view nameBegin,
                                        const char* attributeName, std::string_view valueBegin);

// The element whose children the last search compared with its path's last component. Programs
// enumerate these children; the next search for one begins here instead of at the top. The element
// stays the right one: elements are never removed, and new ones stand last, so that the first match
// of each name remains the first.
struct KnownParent {
  Ostrum::Element start;
  Ostrum::Element parent;
  std::size_t length = 0; // of the path from start to parent, the "\\" behind it included
  char path[128];         // longer ones are not kept
};

// Resolves a path, given without the root's name, below start: depth first, the first match at each
// level, the occurrence-th match (from 1) of the last component. Gives the null element when the
// path names nothing or the search failed; failure, if given, then receives what was thrown. known,
// if given, is of the same document.
Ostrum::Element FindElementByPath(Ostrum::Element start, const char* path, std::uint32_t occurrence,
                                  std::exception_ptr* failure = nullptr,
                                  KnownParent* known = nullptr) noexcept;

#endif
