// One component of a path: an element-name part, optionally followed by an attribute filter.
#ifndef TARVIK_PATHS_PATH_COMPONENT_H
#define TARVIK_PATHS_PATH_COMPONENT_H

#include <cstddef>

#include "host/ostrumxml/node.h"
#include "registry/record.h"
#include "text/convert.h"
#include "text/narrow_name.h"

// "Name&attribute=value" taken apart. Only the first 259 bytes of a component with "&" count.
class PathComponent {
 public:
  // component must outlive this object, unless it holds "&".
  explicit PathComponent(const char* component);
  PathComponent(const PathComponent&) = delete;
  PathComponent& operator=(const PathComponent&) = delete;

  const char* NamePart() const noexcept { return namePart; }
  bool HasFilter() const noexcept { return hasFilter; }
  const char* FilterValue() const noexcept { return filterValue; }

  // Whether a name begins with the name part. One that could not be converted matches nothing.
  bool MatchesName(const NarrowName& elementName) const noexcept;
  // Whether the element has the filter's attribute, with a value that begins with the filter's. REQUIRES: HasFilter().
  // Throws std::bad_alloc.
  bool PassesFilter(const Ostrum::Element& element);

 private:
  const char* namePart;
  std::size_t nameLength;
  bool hasFilter = false;
  std::size_t filterValueLength = 0;
  WideText wideAttributeName; // made by the first element that is asked for it
  char name[bufferSize];
  char attributeName[bufferSize];
  char filterValue[bufferSize];
};

#endif
