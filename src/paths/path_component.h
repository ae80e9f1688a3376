// One component of a path: an element-name part, optionally followed by an attribute filter.
#ifndef TARVIK_PATHS_PATH_COMPONENT_H
#define TARVIK_PATHS_PATH_COMPONENT_H

#include "registry/record.h"

// "Name&attribute=value" taken apart. Only the first 259 bytes of a component with "&" count.
class PathComponent {
 public:
  // component must outlive this object, unless it holds "&".
  explicit PathComponent(const char* component);
  PathComponent(const PathComponent&) = delete;
  PathComponent& operator=(const PathComponent&) = delete;

  const char* NamePart() const noexcept { return namePart; }
  bool HasFilter() const noexcept { return hasFilter; }
  // Of the filter. REQUIRES: HasFilter().
  const char* AttributeName() const noexcept { return attributeName; }
  const char* FilterValue() const noexcept { return filterValue; }

 private:
  const char* namePart;
  bool hasFilter = false;
  char name[bufferSize];
  char attributeName[bufferSize];
  char filterValue[bufferSize];
};

#endif
