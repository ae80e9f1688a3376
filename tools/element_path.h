// A person's paths: exact names, numbers that count elements of exactly that name, attribute filters.
#ifndef TARVIK_TOOLS_ELEMENT_PATH_H
#define TARVIK_TOOLS_ELEMENT_PATH_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "xml_tree.h"

// "Name" or "Name&attribute=value".
struct PathComponent {
  std::string text; // all of it, as it was written
  std::string name;
  std::string attribute;
  std::string value; // what the attribute's value begins with
  bool isFiltered = false;
};

// Components end at "\" or, before their first "&", at "/". Of an item, which is the end of a path, everything behind the first
// "&" belongs to the filter. Throws CommandError for an empty component or a filter that is none. "" has no components.
enum class PathKind { Path, Item };
std::vector<PathComponent> SplitPath(const std::string& path, PathKind kind = PathKind::Path);

// "Item12" is the second "Item1" or the twelfth "Item", in this order.
std::vector<std::pair<std::string, std::uint32_t>> NumberedForms(const std::string& name);

// One step from an element to a child.
struct Step {
  Ostrum::Element* element;
  std::string name;
  std::uint32_t number;   // of the children of exactly that name, from 1
  std::uint32_t position; // of all children whose names have a form in the locale, from 1
};

// From the root to an element; without steps the root itself.
using Place = std::vector<Step>;

// "Folders\Folder2": names with numbers above 1.
std::string PathOf(const Place& place);
std::string PathBelow(const Place& place, const std::string& component);

// Finds elements in a document that outlives this.
class ElementFinder {
 public:
  ElementFinder(Ostrum::Element& rootElement, NameTable& nameTable) : root(rootElement), names(nameTable) {}

  Ostrum::Element& At(const Place& place) const { return place.empty() ? root : *place.back().element; }
  std::string RootName() const { return names.Of(root).text.value_or(""); }

  // The children that the component names, in document order: those of exactly its name or, where there are none, the one
  // that a number at its end chooses.
  std::vector<Step> Children(Ostrum::Element& parent, const PathComponent& component) const;

  // How far a path leads. The occurrence counts the matches of its last component.
  struct Way {
    Place place;
    std::size_t followed = 0; // components
  };
  Way Follow(const std::vector<PathComponent>& path, std::uint32_t occurrence = 1) const;

  // "no element Time in Network; there is Timeout".
  std::string WhyMissing(const Place& parent, const PathComponent& component) const;

  // The first child whose name begins with this one, which is what the library's set takes; null where there is none.
  const Ostrum::Element* FirstThatBegins(const Ostrum::Element& parent, const std::string& name) const;

 private:
  std::vector<Step> Named(Ostrum::Element& parent, const std::string& name, const PathComponent& filter) const;
  Way FollowFrom(const std::vector<PathComponent>& path, std::size_t first, std::uint32_t occurrence) const;
  std::string Hint(const Ostrum::Element& parent, const PathComponent& component) const;

  Ostrum::Element& root;
  NameTable& names;
};

#endif
