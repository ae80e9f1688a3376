// Finding the elements that a path names.
#ifndef TARVIK_TOOLS_MATCHES_H
#define TARVIK_TOOLS_MATCHES_H

#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "path.h"
#include "place.h"

// What a search found. The members for siblings serve to notice that a document has changed.
struct Matches {
  std::vector<Place> places;           // in document order
  std::size_t followed = 0;            // the most steps for which there is an element
  std::vector<std::uint32_t> siblings; // among which each [2] was counted, in order of the search
};

// Removes the places whose elements lack the attribute.
void KeepWithAttribute(std::string_view attribute, std::vector<Place>& places);

// Finds elements in one document, also while elements are added through it. It takes time in
// proportion to what it finds: elements with a filter are found by an index over its attribute.
class Matcher {
 public:
  explicit Matcher(Element documentRoot) : root(documentRoot) {}

  const Element& Root() const { return root; }

  // Finds at most `limit` elements.
  Matches Find(std::span<const Step> steps, std::size_t limit = SIZE_MAX);

  // The number of children of parent among which the step's position counts.
  std::uint32_t Count(Element parent, const Step& step);

  // Adds a child as the step describes it, its key included. Throws CommandError if the parent
  // comes from an entity, and std::invalid_argument if the document does not allow the value.
  Element Add(Element parent, const Step& step);

  // Sets an attribute, which may be missing. Throws as Add.
  void SetAttribute(Element element, std::string_view name, std::string_view value);

 private:
  struct Key {
    Element parent;
    std::string name, attribute;
    auto operator<=>(const Key&) const = default; // NOLINT(modernize-use-nullptr): misread
  };
  // The elements that have the attribute, sorted by the hashes of their values, those of one hash
  // in document order.
  using Index = std::vector<std::pair<std::size_t, Element>>;

  Index& IndexFor(Element parent, const Step& step);
  const std::vector<Element>& WithKey(Element parent, const Step& step);
  Element Nth(Element parent, const Step& step, std::uint32_t n);
  Element RootFor(const Step& step) const;
  Element Next(const Place& place, const Step& step, std::uint32_t n, Matches& matches);

  Element root;
  std::map<Key, Index> indexes;
  // The last search by key.
  Key lastKey;
  std::string lastValue;
  std::vector<Element> lastMatching;
};

#endif
