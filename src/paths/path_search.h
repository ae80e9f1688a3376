// Finding elements by names and paths in the caller's character set.
#ifndef TARVIK_PATHS_PATH_SEARCH_H
#define TARVIK_PATHS_PATH_SEARCH_H

#include <cstdint>
#include <string>

#include "host/ostrumxml/nodes/node.h"

// What is asked of the children of an element. All text is in the caller's character set.
struct ChildSearch {
  Ostrum::NameMatch match; // the child's name is, or begins with, `name`
  const char* name;
  std::uint32_t n = 1;              // which of the matches is wanted, from 1; there is no 0th
  const char* attribute = nullptr;  // if given, the child has this attribute
  const char* valueBegin = nullptr; // if given, its value begins with this; n is then 1
};

// The child, or null. Converts what is asked to UTF-8 and asks the document, which has an index of
// large elements; what it finds counts only if the caller's character set can represent it. Only if
// the text does not convert to UTF-8 and back to the same bytes, or if log lines are due for
// children on the way, converts and compares child by child. A name or value that cannot be
// converted does not match. Throws std::bad_alloc.
Ostrum::Element FindChild(const Ostrum::Element& parent, const ChildSearch& search);

// The parent of what a path last led to. Callers enumerate the elements of one path: without it,
// listing 1,000 files for the first time takes 6 times as long as a hand-written loop instead of 5.
struct KnownParent {
  Ostrum::Element start, parent;
  std::string path;          // from start to parent, without filters, whose answers can change
  std::uint32_t charset = 0; // the id of the path's character set
};

// Follows a path, given without the root's name, below start: at each level the first match, of the
// last component the occurrence-th match, from 1. Null if the path names nothing. Starts at the
// known parent if the path begins as the last one did, and remembers the parent. Logs and throws
// std::bad_alloc.
Ostrum::Element FindElementByPath(Ostrum::Element start, const char* path, std::uint32_t occurrence,
                                  KnownParent& known);

#endif
