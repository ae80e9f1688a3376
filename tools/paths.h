// Paths as users write them, the simplest form of XPath, and finding the elements that they name.
#ifndef TARVIK_TOOLS_PATHS_H
#define TARVIK_TOOLS_PATHS_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/ostrumxml/nodes/node.h"

// Which of the elements that match a step's name and filter the step stands for.
enum class Position {
  All,
  Number,   // [2]
  FromLast, // [last()], and [last()+1], which set creates
};

// One step of a path, for example add[@key='Timeout'][2].
struct Step {
  std::string name = {};  // empty: any name
  std::string key = {};   // of the filter [@key='value']; empty if there is none
  std::string value = {}; // of the filter
  Position position = Position::All;
  std::uint32_t number = 1; // from 1; for Position::FromLast 0 or 1 more than the last
  std::string text = {};    // the step as written

  bool HasAnyName() const { return name.empty(); }
  Ostrum::NameMatch Match() const {
    return HasAnyName() ? Ostrum::NameMatch::Prefix : Ostrum::NameMatch::Exact;
  }
  // For a step with a position: the number of the element if so many match.
  std::uint32_t NumberAmong(std::uint32_t count) const {
    return position == Position::FromLast ? count + number : number;
  }
  // The step as written, but for its position. REQUIRES: it has one.
  std::string WithoutPosition() const {
    assert(position != Position::All);
    return text.substr(0, text.rfind('['));
  }
};

struct Path {
  std::string text;        // the path as written
  std::vector<Step> steps; // the first stands for the root; at least that one
  std::string attribute;   // empty if the path stands for elements
};

// Throws UsageError with the reason for whatever is not a path.
Path ParsePath(const std::string& text);

using Ostrum::Element;

// Where an element is in its document: the elements from the root to it, both included.
using Place = std::vector<Element>;

// The text of the place's element, or the value of its attribute if one is named.
std::string ValueAt(const Place& place, std::string_view attribute);

// The path of a place, or of an attribute there if one is named, with a number wherever there are
// several of a name. REQUIRES: an attribute if the place is the root.
std::string PathOf(const Place& place, std::string_view attribute = {});

// A place's path, or the root's name, for a message.
std::string NameOf(const Place& place);

// For a name such as Server3, which the library's functions take for a number: Server[3], if the
// parent has children called Server. Otherwise empty.
std::string MisreadNumber(const Element& parent, std::string_view name);

// The places in a document to which a path leads, as far as it leads somewhere.
struct Found {
  std::vector<Place> places; // in document order
  // How many steps lead to them, and one more if they are what the whole path names.
  std::size_t steps = 0;
  std::vector<std::size_t> counted; // among how many siblings each number was counted

  bool IsWhole(const Path& path) const { return steps > path.steps.size(); }
};

// Finds elements in one document, also while elements are added through it. It takes time in
// proportion to what it finds: children with a filter are found by an index over its attribute.
class Matcher {
 public:
  explicit Matcher(Element documentRoot) : root(documentRoot) {}

  // What a path names, at most `limit` places; elements without the path's attribute only if it is
  // optional.
  Found Find(const Path& path, bool isAttributeOptional = false, std::size_t limit = SIZE_MAX);

  // What is there instead of what the path names, for example "no element Time in Network; there is
  // Timeout". found: what was found of it. REQUIRES: not the whole path.
  std::string WhyMissing(const Path& path, const Found& found);

  // The number of children of parent among which the step's position counts: those with its name
  // and filter. 1 if parent is null: the root, of which Nth tells whether it is the step's.
  std::uint32_t Count(const Element& parent, const Step& step);

  // Sets an attribute of the place's element, which may be missing. Throws as
  // Element::SetAttribute.
  void SetAttribute(const Place& place, const std::string& name, const std::string& value);

 private:
  // The children of one parent and name that have a filter's attribute.
  struct Index {
    // Those with the value, in document order.
    std::vector<Element>& With(const std::string& value);
    // Adds a child with the value, unless it is known.
    void Add(const std::string& value, const Element& child);

    std::string key{}; // the attribute
    // Those that were there first, by the hashes of the values that they then had.
    std::vector<std::pair<std::size_t, Element>> byHash{};
    Element last{}; // the last child that was looked at; new ones follow it
    // By value: for each that was asked for, added or replaced, so they are kept up to date.
    std::unordered_map<std::string, std::vector<Element>> lists{};
  };

  Element Next(const Element& parent, const Step& step, std::uint32_t n,
               std::vector<std::size_t>& counted);
  Element Nth(const Element& parent, const Step& step, std::uint32_t n);
  const std::vector<Element>& WithKey(const Element& parent, const Step& step);

  Element root;
  // By the filter's attribute, the parent and the children's name.
  std::map<std::tuple<std::string, Element, std::string>, Index> indexes;
};

#endif
