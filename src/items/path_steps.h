// The components of an item path, one after the other, as a set walks them.
#ifndef TARVIK_ITEMS_PATH_STEPS_H
#define TARVIK_ITEMS_PATH_STEPS_H

#include <string>

struct PathStep {
  std::string name;
  std::string attributeName;
  std::string attributeValue;

  // An attribute part that lacks its name or its value says nothing.
  bool HasAttribute() const noexcept { return !attributeName.empty() && !attributeValue.empty(); }
};

class PathSteps {
 public:
  enum class Cutting { Silent, Logged };

  // path must outlive this object and have less than 4 GiB. An empty one has no components; one that ends in a
  // separator ends in an empty component.
  PathSteps(const char* path, Cutting cutting) noexcept
      : rest(*path == '\0' ? nullptr : path), isLogged(cutting == Cutting::Logged) {}

  // Gives the next component. False, step being as it was, behind the last. Throws std::bad_alloc.
  bool Next(PathStep& step);

 private:
  const char* Cut(const char* source, char separator, std::string& token) const;

  const char* rest; // null behind the last component
  bool isLogged;
  std::string whole; // the component before it is split
};

#endif
