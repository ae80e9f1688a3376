#include <map>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "output.h"
#include "text.h"

namespace {

// Group IDs count every name that begins with the one asked for: a "Setting" is the second after one "Settings".
class OccurrenceCounter {
 public:
  std::uint32_t Next(const std::string& name) {
    ++counts[name];
    std::uint32_t occurrence = 0;
    for (auto at = counts.lower_bound(name); at != counts.end() && at->first.starts_with(name); ++at) {
      occurrence += at->second;
    }
    return occurrence;
  }

 private:
  std::map<std::string, std::uint32_t> counts;
};

// The numbers of an element's children, counted by exact name, 0 for a name that has no form in the locale; and which of them
// a path can't name, because it would name another.
class Numbering {
 public:
  std::vector<std::uint32_t> numbers;
  std::vector<bool> hidden; // empty where none is

  void Count(const Ostrum::Element& parent, NameTable& names) {
    numbers.clear();
    hidden.clear();
    bool endsInDigit = false;
    for (auto child = parent.Begin(); child != parent.End(); ++child) {
      ElementName& name = names.Of(*child);
      numbers.push_back(name.text ? ++name.count : 0);
      endsInDigit = endsInDigit || (name.text && name.text->back() >= '0' && name.text->back() <= '9');
    }
    if (endsInDigit) FindHidden(parent, names);
    for (auto child = parent.Begin(); child != parent.End(); ++child) names.Of(*child).count = 0;
  }

 private:
  void FindHidden(const Ostrum::Element& parent, NameTable& names) {
    std::map<std::string_view, std::uint32_t> counts;
    for (auto child = parent.Begin(); child != parent.End(); ++child) {
      const ElementName& name = names.Of(*child);
      if (name.text) counts[*name.text] = name.count;
    }
    hidden.resize(numbers.size());
    std::size_t i = 0;
    for (auto child = parent.Begin(); child != parent.End(); ++child, ++i) {
      if (numbers[i] > 1) hidden[i] = IsHidden(*names.Of(*child).text, numbers[i], counts);
    }
  }

  static bool IsHidden(const std::string& name, std::uint32_t number,
                       const std::map<std::string_view, std::uint32_t>& counts) {
    const std::string path = name + std::to_string(number);
    if (counts.contains(path)) return true;
    for (const auto& [otherName, otherNumber] : NumberedForms(path)) {
      if (otherName == name) return false;
      const auto other = counts.find(otherName);
      if (other != counts.end() && other->second >= otherNumber) return true;
    }
    return false;
  }
};

// Prints the elements below a place, each before those within it.
class TreeWalk {
 public:
  TreeWalk(const Document& openDocument, const Options& wanted) : document(openDocument), options(wanted) {}

  void Walk(const Place& top) {
    path = PathOf(top);
    Enter(document.Finder().At(top), document.OpenGroup(top), LibraryIdOf(top));
    while (!levels.empty()) {
      Level& level = levels.back();
      path.resize(level.pathLength);
      if (level.child == level.numbering.numbers.size()) {
        levels.pop_back();
      } else {
        Visit(level);
      }
    }
    if (options.json) PrintJson(json);
  }

  std::size_t Count() const { return count; }

  // What the list does not say by itself; empty where there is nothing.
  std::string Note() const {
    std::string note;
    if (hidden > 0)
      note += "; an element of that very name, or a longer name's number, hides " + Several(firstHidden, hidden);
    if (withoutId > 0) note += "; there is no group ID for " + Several(firstWithoutId, withoutId);
    return note;
  }
  // Elements left out, with all below them, since their names can't be shown.
  std::size_t LeftOut() const { return leftOut; }

 private:
  struct Level {
    Ostrum::IteratorRef next;
    std::size_t pathLength;
    Document::GroupId group; // by which values are read
    Document::GroupId id;    // the library's own
    Numbering numbering{};
    OccurrenceCounter occurrences{};
    std::size_t child = 0;
    std::uint32_t position = 0;
  };

  static std::string Several(const std::string& first, std::size_t number) {
    return number == 1 ? first : first + " and " + std::to_string(number - 1) + " more";
  }

  void Enter(Ostrum::Element& element, Document::GroupId group, Document::GroupId id) {
    levels.push_back({element.Begin(), path.size(), std::move(group), std::move(id)});
    levels.back().numbering.Count(element, document.Names());
  }

  void Visit(Level& level) {
    Ostrum::Element& element = *level.next;
    ++level.next;
    const bool isHidden = !level.numbering.hidden.empty() && level.numbering.hidden[level.child];
    const std::uint32_t number = level.numbering.numbers[level.child++];
    if (number == 0) {
      ++leftOut;
      return;
    }
    const Step step{&element, *document.Names().Of(element).text, number, ++level.position};
    if (!path.empty()) path += '\\';
    const std::size_t ownStart = path.size();
    path += step.name;
    if (number > 1) path += std::to_string(number);
    if (isHidden && hidden++ == 0) firstHidden = path;

    Document::GroupId id;
    if (options.withIds) id = document.LibraryId(level.id, step, level.occurrences.Next(step.name));
    if (options.withIds && !id && withoutId++ == 0) firstWithoutId = path;
    const bool isLeaf = element.Begin() == element.End();
    ++count;
    Print(ownStart, id, isLeaf && options.withValues ? Value(level, step) : std::nullopt);
    if (isLeaf || levels.size() == options.depth) return;
    Enter(element, options.withValues ? document.OpenChild(level.group, step) : std::nullopt, std::move(id));
  }

  std::optional<std::string> Value(const Level& level, const Step& step) const {
    return document.ReadText(level.group, step);
  }

  void Print(std::size_t ownStart, const Document::GroupId& id, const std::optional<std::string>& value) {
    if (options.json) return AddJson(id, value);
    if (IsColourTerminal(Stream::Output)) { // the parent's part steps back, so that the tree shows
      line = Coloured(Stream::Output, Colour::Dim, path.substr(0, ownStart)).append(path, ownStart);
    } else {
      line = path;
    }
    if (options.withIds) line.append("\t").append(id.value_or(""));
    if (value) line.append("\t").append(Shown(AsField(*value)));
    PrintLine(line);
  }

  void AddJson(const Document::GroupId& id, const std::optional<std::string>& value) {
    if (!options.withIds && !options.withValues) return json.push_back(ToUtf8(path));
    nlohmann::ordered_json entry{{"path", ToUtf8(path)}};
    if (options.withIds) entry["id"] = id ? nlohmann::ordered_json(ToUtf8(*id)) : nlohmann::ordered_json();
    if (value) entry["value"] = ToUtf8(*value);
    json.push_back(std::move(entry));
  }

  Document::GroupId LibraryIdOf(const Place& place) const {
    if (!options.withIds) return std::nullopt;
    Document::GroupId id = "";
    Place parent;
    for (const Step& step : place) {
      OccurrenceCounter occurrences;
      std::uint32_t occurrence = 0;
      const Ostrum::Element& element = document.Finder().At(parent);
      for (auto child = element.Begin(); occurrence == 0; ++child) {
        const auto& name = document.Names().Of(*child).text;
        if (name) occurrences.Next(*name);
        if (&*child == step.element) occurrence = occurrences.Next(step.name) - 1;
      }
      id = document.LibraryId(id, step, occurrence);
      parent.push_back(step);
    }
    return id;
  }

  const Document& document;
  const Options& options;
  std::vector<Level> levels;
  std::string path; // of the element that is visited
  std::string line;
  std::size_t count = 0, leftOut = 0, hidden = 0, withoutId = 0;
  std::string firstHidden, firstWithoutId;
  nlohmann::ordered_json json = nlohmann::ordered_json::array();
};

} // namespace

ExitStatus List(const Options& options) {
  const Document document(options);
  const auto components = SplitPath(options.path);
  const auto way = document.Finder().Follow(components, options.occurrence);
  TreeWalk walk(document, options);
  if (way.followed < components.size()) {
    if (options.json) PrintJson(nlohmann::ordered_json::array());
    PrintNote(document.File() + ": " + document.Finder().WhyMissing(way.place, components[way.followed]));
    return ExitStatus::NothingFound;
  }
  walk.Walk(way.place);
  if (walk.LeftOut() > 0) {
    throw CommandError(document.File() + ": " + std::to_string(walk.LeftOut()) +
                       " elements are left out: their names have no form in the character set of the locale");
  }
  if (!walk.Note().empty()) PrintNote(document.File() + walk.Note());
  if (walk.Count() > 0) return ExitStatus::Found;
  PrintNote(document.File() + ": " + PathOf(way.place) + " has no elements in it");
  return ExitStatus::NothingFound;
}
