// Paths as users write them: exact names, numbers that count elements of exactly that name,
// attribute filters.
#ifndef TARVIK_TOOLS_ELEMENT_PATH_H
#define TARVIK_TOOLS_ELEMENT_PATH_H

#include <string>
#include <vector>

#include "host/ostrumxml/nodes/node.h"

using Ostrum::Element;

// "Name" or "Name&attribute=value".
struct PathComponent {
  std::string text; // the whole component, as written
  std::string name;
  std::string attribute;        // empty if none is required
  std::string value;            // the required beginning of the attribute's value
  std::uint32_t occurrence = 1; // which of the matches is meant, from 1
};

// Components are separated by "\" or, in front of a component's first "&", by "/". Throws
// CommandError for an empty name or a malformed filter. occurrence applies to the last component.
std::vector<PathComponent> SplitPath(std::string path, std::uint32_t occurrence = 1);

// The digits as a number; 0 unless all are digits and the first is not 0.
std::uint32_t NumberIn(std::string_view digits);

struct Step {
  Element element;
  std::string name;
  std::uint32_t number = 1; // among the parent's children of exactly that name, from 1
  std::uint32_t position =
      1; // among the parent's children whose names the locale can represent, from 1

  std::string Text() const { return number > 1 ? name + std::to_string(number) : name; }
};

// The elements from the root to one element, both included.
using Place = std::vector<Step>;

// For example "Folders\Folder2": numbers above 1 are shown, the root is left out. The root's own
// path is its name.
std::string PathOf(const Place& place);
std::string PathBelow(const Place& place, const std::string& component);

// The children that match the component, in document order: those of exactly its name or, if there
// are none, the one selected by the number at the name's end.
std::vector<Step> Children(const Element& parent, const PathComponent& component);

// How much of a path exists.
struct Way {
  Place place;
  std::vector<Step> matches; // of the last component looked up
  std::size_t followed;      // number of components found
};
Way Follow(const Element& root, const std::vector<PathComponent>& path);

// For example "no element Time in Network; there is Timeout".
std::string WhyMissing(const Place& parent, const PathComponent& component);

#endif
