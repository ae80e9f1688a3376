#include <map>
#include <unordered_map>
#include <unordered_set>

#include "document.h"
#include "output.h"
#include "text.h"

namespace {

// Walks the elements below a place, each before those within it; on the way to the place nothing is listed.
class TreeWalk {
 public:
  TreeWalk(const Document& openDocument, const Options& wanted, const Place& top, Table& output)
      : document(openDocument), options(wanted), topPlace(top), table(output) {}

  void Walk() {
    levels.emplace_back(document.Finder().At({}), "", "");
    while (!levels.empty()) {
      if (levels.back().next != levels.back().end) {
        Visit(levels.back());
        continue;
      }
      levels.pop_back();
      if (!place.empty()) place.pop_back();
    }
  }

  std::size_t count = 0;
  std::size_t hidden = 0, withoutId = 0, lackForm = 0;
  std::string firstHidden, firstWithoutId, firstWithoutForm;

 private:
  struct Level {
    Level(Element& parent, const std::string& parentPath, const Document::GroupId& parentId)
        : next(parent.Begin()), end(parent.End()), path(parentPath), id(parentId) {
      for (auto child = parent.Begin(); child != parent.End() && !hasDigits; ++child) {
        hasDigits = child->GetName().back() >= '0' && child->GetName().back() <= '9';
      }
    }

    // Group IDs count every name that begins with the one asked for: a "Setting" is the second after one "Settings".
    std::uint32_t NextOccurrence(const std::string& name) {
      ++occurrences[name];
      std::uint32_t sum = 0;
      for (auto i = occurrences.lower_bound(name); i != occurrences.end() && i->first.starts_with(name); ++i) {
        sum += i->second;
      }
      return sum;
    }

    Ostrum::IteratorRef next, end;
    std::string path;     // of the parent
    Document::GroupId id; // of the parent
    std::uint32_t position = 0;
    std::unordered_map<const char*, std::uint32_t> numbers;
    bool hasDigits = false;                // at the end of a child's name, which might be taken for a number
    std::unordered_set<std::string> texts; // of the children, if so
    std::map<std::string, std::uint32_t> occurrences;
  };

  void Visit(Level& level) {
    Element& element = *level.next;
    ++level.next;
    const std::string_view name = element.GetName(); // equal names share their text
    const bool isAbove = levels.size() <= topPlace.size();
    const bool hasForm = HasForm(name);
    const Step step{&element, std::string(name), ++level.numbers[name.data()], level.position += hasForm ? 1 : 0};
    const std::uint32_t occurrence = options.withIds && hasForm ? level.NextOccurrence(step.name) : 0;
    if (isAbove && topPlace[levels.size() - 1].element != &element) return;

    const std::string text = step.Text();
    const std::string path = level.path.empty() ? text : level.path + '\\' + text;
    if (level.hasDigits && !level.texts.insert(text).second && hidden++ == 0) firstHidden = path;
    if (!hasForm && lackForm++ == 0) firstWithoutForm = path;
    const Document::GroupId id = occurrence > 0 ? document.OpenChild(level.id, step, occurrence) : std::nullopt;
    const bool isLeaf = element.Begin() == element.End();
    place.push_back(step);
    if (!isAbove) ListOne(path, id, isLeaf);
    if (isAbove || (!isLeaf && levels.size() - topPlace.size() != options.depth)) {
      levels.emplace_back(element, path, id);
    } else {
      place.pop_back();
    }
  }

  void ListOne(const std::string& path, const Document::GroupId& id, bool isLeaf) {
    ++count;
    Table::Row row{path};
    if (options.withIds) row.push_back(id);
    if (options.withIds && !id && withoutId++ == 0) firstWithoutId = path;
    if (options.withValues) row.push_back(isLeaf ? document.Read(place, "") : std::nullopt);
    table.Add(row);
  }

  const Document& document;
  const Options& options;
  const Place& topPlace;
  Table& table;
  std::vector<Level> levels;
  Place place; // of the element that is visited
};

} // namespace

ExitStatus List(const Options& options) {
  const Document document(options);
  std::vector<PathComponent> components = SplitPath(options.arguments.empty() ? "" : options.arguments.front());
  if (!components.empty()) components.back().occurrence = options.occurrence;
  const auto [place, followed] = document.Finder().Follow(components);
  Table::Row names{"path"};
  if (options.withIds) names.emplace_back("id");
  if (options.withValues) names.emplace_back("value");
  Table table(options.json, names);
  TreeWalk walk(document, options, place, table);
  const bool isThere = followed == components.size();
  if (isThere) walk.Walk();
  table.Finish();
  std::string note = isThere ? "" : document.Finder().WhyMissing(place, components[followed]);
  if (isThere && walk.count == 0) note = "no elements in it";
  const auto add = [&note](const std::string& first, std::size_t number, const char* what) {
    if (number > 0) note += (note.empty() ? "" : "; ") + first;
    if (number > 1) note += " and " + std::to_string(number - 1) + " more";
    if (number > 0) note += what;
  };
  add(walk.firstHidden, walk.hidden, ": stands for two elements, and leads to the one with the longer name");
  add(walk.firstWithoutId, walk.withoutId, ": has no group ID of its own");
  add(walk.firstWithoutForm, walk.lackForm, ": has no form in the locale's character set");
  if (!note.empty()) document.Note(note);
  return walk.count > 0 ? ExitStatus::Found : ExitStatus::NothingFound;
}
