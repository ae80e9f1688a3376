// Finding elements by names and paths in the caller's character set.
#ifndef TARVIK_PATHS_PATH_SEARCH_H
#define TARVIK_PATHS_PATH_SEARCH_H

#include <cstdint>
#include <exception>
#include <string_view>

#include "host/ostrumxml/nodes/node.h"

// The question is converted, not the document: a search converts the caller's text to UTF-8 once
// and asks the document, which has an index of large elements. What it finds counts only if it has
// a form in the locale's character set. Only if the caller's text does not convert to UTF-8 and
// back to the same bytes, or if log lines are due for children on the way, a search converts and
// compares child by child. A name or value that cannot be converted does not match.
//
// All functions return the null element if there is no such child, and throw std::bad_alloc.

// The n-th child, from 1, whose name is, or begins with, the text.
Ostrum::Element FindNthChild(const Ostrum::Element& parent, Ostrum::NameMatch match,
                             std::string_view text, std::uint32_t n);

// The n-th child, from 1, of exactly that name that has the attribute. attributeName is in UTF-8;
// null matches no child.
Ostrum::Element FindNthChildWithAttribute(const Ostrum::Element& parent, std::string_view name,
                                          const std::string_view* attributeName, std::uint32_t n);

// The first child whose name begins with the text and that has the attribute, with a value that
// begins with the other text. An attribute name that can't be converted logs its line for every
// child whose name matches.
Ostrum::Element FindFirstChildWithValue(const Ostrum::Element& parent, std::string_view nameBegin,
                                        const char* attributeName, std::string_view valueBegin);

// Resolves a path, given without the root's name, below start: depth first, the first match at each
// level, the occurrence-th match (from 1) of the last component. Gives the null element when the
// path names nothing or the search failed; failure, if given, then receives what was thrown.
Ostrum::Element FindElementByPath(Ostrum::Element start, const char* path, std::uint32_t occurrence,
                                  std::exception_ptr* failure = nullptr) noexcept;

#endif
