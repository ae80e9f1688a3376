// A person's paths: exact names, numbers that count elements of exactly that name, attribute filters.
#ifndef TARVIK_TOOLS_ELEMENT_PATH_H
#define TARVIK_TOOLS_ELEMENT_PATH_H

#include <string>
#include <vector>

#include "host/ostrumxml/node.h"

using Ostrum::Element;

// "Name" or "Name&attribute=value".
struct PathComponent {
  std::string text; // all of it, as it was written
  std::string name;
  std::string attribute;        // empty where no attribute is required
  std::string value;            // what the attribute's value begins with
  std::uint32_t occurrence = 1; // of its matches
};

// Components end at "\" or, before their first "&", at "/". Throws CommandError for an empty one and for a filter that is none.
// The occurrence is the last one's.
std::vector<PathComponent> SplitPath(std::string path, std::uint32_t occurrence = 1);

// The number that the digits are, if it is written as a path does; else 0.
std::uint32_t NumberIn(std::string_view digits);

struct Step {
  Element* element;
  std::string name;
  std::uint32_t number = 1;   // of its parent's children of exactly that name, from 1
  std::uint32_t position = 1; // of all its parent's children whose names have a form in the locale, from 1

  std::string Text() const { return number > 1 ? name + std::to_string(number) : name; }
};

// The way from the root, which is its first step, to an element.
using Place = std::vector<Step>;

// "Folders\Folder2": names with numbers above 1, without the root's. The root itself goes by its name.
std::string PathOf(const Place& place);
std::string PathBelow(const Place& place, const std::string& component);

// The children that the component names, in document order: those of exactly its name or, where there are none, the one that
// a number at its end chooses.
std::vector<Step> Children(const Element& parent, const PathComponent& component);

// How far a path leads from the root.
struct Way {
  Place place;
  std::vector<Step> matches; // of the last component that was followed
  std::size_t followed;      // components
};
Way Follow(Element& root, const std::vector<PathComponent>& path);

// "no element Time in Network; there is Timeout".
std::string WhyMissing(const Place& parent, const PathComponent& component);

#endif
