// A person's paths: exact names, numbers that count elements of exactly that name, attribute filters.
#ifndef TARVIK_TOOLS_ELEMENT_PATH_H
#define TARVIK_TOOLS_ELEMENT_PATH_H

#include <cstdint>
#include <string>
#include <vector>

#include "xml_tree.h"

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

// Finds elements in a document that outlives this.
class ElementFinder {
 public:
  ElementFinder(Element& rootElement, NameTable& nameTable) : root(rootElement), names(nameTable) {}

  Element& At(const Place& place) const { return place.empty() ? root : *place.back().element; }
  std::string NameOf(const Element& element) const { return names.Of(element).value_or(""); }

  // The children that the component names, in document order: those of exactly its name or, where there are none, the one
  // that a number at its end chooses.
  std::vector<Step> Children(Element& parent, const PathComponent& component) const;

  // How far a path leads.
  struct Way {
    Place place;
    std::size_t followed; // components
  };
  Way Follow(const std::vector<PathComponent>& path) const;

  // "no element Time in Network; there is Timeout".
  std::string WhyMissing(const Place& parent, const PathComponent& component) const;

  // The first child whose name begins with this one, which is what the library's set takes; null where there is none.
  const Element* FirstThatBegins(const Element& parent, const std::string& name) const;

 private:
  std::vector<Step> Named(Element& parent, const std::string& name, const PathComponent& filter) const;
  Way FollowFrom(const std::vector<PathComponent>& path, std::size_t first) const;

  Element& root;
  NameTable& names;
};

#endif
