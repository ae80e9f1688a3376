// A person's paths: exact names, numbers that count elements of exactly that name, attribute filters.
#ifndef TARVIK_TOOLS_ELEMENT_PATH_H
#define TARVIK_TOOLS_ELEMENT_PATH_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/ostrumxml/node.h"

using Ostrum::Element;

// "Name" or "Name&attribute=value".
struct PathComponent {
  std::string text; // all of it, as it was written
  std::string name;
  std::string attribute;        // empty without a filter
  std::string value;            // what the attribute's value begins with
  std::uint32_t occurrence = 1; // of its matches
};

// Components end at "\" or, before their first "&", at "/". Throws CommandError for an empty one and for a filter that is none.
std::vector<PathComponent> SplitPath(const std::string& path);

// One step from an element to a child.
struct Step {
  Element* element;
  std::string name;
  std::uint32_t number;   // of the children of exactly that name, from 1
  std::uint32_t position; // of all children whose names have a form in the locale, from 1

  std::string Text() const { return number > 1 ? name + std::to_string(number) : name; }
};

// From the root to an element; without steps the root itself.
using Place = std::vector<Step>;

// "Folders\Folder2": names with numbers above 1.
std::string PathOf(const Place& place);
std::string PathBelow(const Place& place, const std::string& component);

// Finds elements below a root that outlives this.
class ElementFinder {
 public:
  explicit ElementFinder(Element& rootElement) : root(rootElement) {}

  Element& At(const Place& place) const { return place.empty() ? root : *place.back().element; }

  // The children that the component names, in document order: those of exactly its name or, where there are none, the one
  // that a number at its end chooses.
  std::vector<Step> Children(const Element& parent, const PathComponent& component) const;

  // How far a path leads.
  struct Way {
    Place place;
    std::size_t followed; // components
  };
  Way Follow(const std::vector<PathComponent>& path) const;

  // "no element Time in Network; there is Timeout".
  std::string WhyMissing(const Place& parent, const PathComponent& component) const;

 private:
  Way FollowFrom(const std::vector<PathComponent>& path, std::size_t first) const;

  Element& root;
};

#endif
