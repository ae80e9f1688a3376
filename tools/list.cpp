#include <map>

#include "document.h"
#include "text.h"

namespace {

// The children of one element that share a name.
struct SameName {
  std::uint32_t total = 0, visited = 0;
  std::uint32_t begun =
      0; // visited children whose names begin with this name; group IDs count these
  SameName* beginning = nullptr; // the longest other name that this one begins with
  std::string_view name;
};

// Walks down to a place, then lists the elements below it in document order.
class TreeWalk {
 public:
  TreeWalk(const Document& openDocument, const Options& wanted, const Place& top, Table& output)
      : document(openDocument), options(wanted), topPlace(top), table(output) {}

  void Walk() {
    place = {topPlace.front()};
    levels.emplace_back(place.front().element, 0, "");
    while (!levels.empty())
      levels.back().next != levels.back().end ? Visit(levels.back()) : levels.pop_back();
  }

  std::size_t count = 0;
  // For each remark, the number of elements that it applies to and the path of the first.
  std::map<std::string_view, std::pair<std::size_t, std::string>> remarks;

 private:
  struct Level {
    Level(const Element& parent, std::size_t parentPathSize, Document::GroupId parentId)
        : next(parent.Begin()),
          end(parent.End()),
          pathSize(parentPathSize),
          id(std::move(parentId)) {
      for (auto child = next; child != end; ++child) ++names[child->GetName()].total;
      SameName* before = nullptr;
      for (auto& [name, same] : names) { // in order, so each name follows those that it begins with
        while (before != nullptr && !name.starts_with(before->name)) before = before->beginning;
        same.name = name;
        same.beginning = std::exchange(before, &same);
      }
    }

    Ostrum::IteratorRef next, end;
    std::size_t pathSize; // of the parent's path
    Document::GroupId id; // of the parent
    std::uint32_t position = 0;
    std::map<std::string_view, SameName> names;
  };

  void Visit(Level& level) {
    const Element element = *level.next;
    ++level.next;
    SameName& same = level.names.at(element.GetName());
    const bool hasForm = HasForm(same.name);
    const Step step{element, std::string(same.name), ++same.visited,
                    level.position += hasForm ? 1 : 0};
    for (SameName* each = &same; hasForm && each != nullptr; each = each->beginning) ++each->begun;
    const bool isAbove = levels.size() < topPlace.size();
    if (isAbove && topPlace[levels.size()].element != element) return;

    const std::string text = step.Text();
    path.resize(level.pathSize);
    path += (path.empty() ? "" : "\\") + text;
    place.resize(levels.size());
    const bool isAmbiguous =
        isAbove ? Children(place.back().element, {text, text, "", ""}).front().element != element
                : Hides(same, text);
    place.push_back(step);
    if (!hasForm) Remark(": the locale's character set can't represent it");
    const Document::GroupId id =
        options.withIds && hasForm ? document.OpenChild(level.id, step, same.begun) : std::nullopt;
    const bool isLeaf = element.FirstChild().IsNull();
    if (!isAbove) ListOne(id, isLeaf);
    if (isAmbiguous) Remark(": stands for two elements, and leads to the one with the longer name");
    const bool isDeepest = isLeaf || place.size() - topPlace.size() == options.depth;
    if (isAbove || !isDeepest) levels.emplace_back(element, path.size(), id);
  }

  void ListOne(const Document::GroupId& id, bool isLeaf) {
    ++count;
    Table::Row row(1, path);
    if (options.withIds) row.push_back(id ? FromLocale(*id) : std::nullopt);
    if (options.withIds && !id) Remark(": has no group ID of its own");
    if (options.withValues) row.push_back(isLeaf ? document.Read(place, "") : std::nullopt);
    table.Add(row);
  }

  void Remark(std::string_view what) {
    auto& [number, first] = remarks[what];
    if (number++ == 0) first = path;
  }

  // Whether a shorter name with a number gives the same text.
  static bool Hides(const SameName& same, std::string_view text) {
    for (const SameName* base = same.beginning; base != nullptr; base = base->beginning) {
      const std::uint32_t number = NumberIn(text.substr(base->name.size()));
      if (number > 1 && number <= base->total) return true;
    }
    return false;
  }

  const Document& document;
  const Options& options;
  const Place& topPlace;
  Table& table;
  std::vector<Level> levels;
  Place place;      // of the current element
  std::string path; // of the current element
};

} // namespace

ExitStatus List(const Document& document, const Options& options) {
  const std::string path = options.arguments.empty() ? "" : options.arguments.front();
  const std::vector<PathComponent> components = SplitPath(path, options.occurrence);
  const auto [place, matches, followed] = Follow(document.Tree().GetRoot(), components);
  Table::Row names{"path"};
  if (options.withIds) names.emplace_back("id");
  if (options.withValues) names.emplace_back("value");
  Table table(options.json, names);
  TreeWalk walk(document, options, place, table);
  const bool isThere = followed == components.size();
  if (isThere) walk.Walk();
  table.Finish();
  std::string note = isThere ? "" : WhyMissing(place, components[followed]);
  if (isThere && walk.count == 0) note = "no elements in it";
  for (const auto& [what, remark] : walk.remarks) {
    const std::string more =
        remark.first > 1 ? " and " + std::to_string(remark.first - 1) + " more" : "";
    note.append(note.empty() ? "" : "; ").append(remark.second + more).append(what);
  }
  if (!note.empty()) document.Note(note);
  return walk.count > 0 ? ExitStatus::Found : ExitStatus::NothingFound;
}
