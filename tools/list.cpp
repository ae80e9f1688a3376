// The command `list`.
#include <optional>
#include <unordered_map>

#include "commands.h"
#include "input.h"
#include "json.h"
#include "matches.h"
#include "missing.h"
#include "output.h"

namespace {

// Lists what is below a place, in document order.
class Listing {
 public:
  explicit Listing(const Options& given) : options(given) {}

  void Add(const Place& top) {
    path = top.size() > 1 ? PathOf(top) : "";
    AddAttributes(top.back());
    std::vector<Level> levels;
    levels.emplace_back(top.back(), path.size());
    while (!levels.empty()) {
      Level& level = levels.back();
      if (level.next == level.end) {
        levels.pop_back();
        continue;
      }
      const Element element = *level.next;
      ++level.next;
      AddElement(level, element);
      const bool isDeepest = levels.size() == options.depth;
      if (!isDeepest && element.Begin() != element.End()) levels.emplace_back(element, path.size());
    }
  }

  std::vector<std::string> lines; // or members of a JSON object or array

 private:
  // The children of one element.
  struct Level {
    Level(const Element& parent, std::size_t parentPathSize)
        : next(parent.Begin()), end(parent.End()), pathSize(parentPathSize) {
      for (auto child = next; child != end; ++child) ++names[child->GetName()].total;
    }

    struct SameName {
      std::uint32_t total = 0, visited = 0;
    };
    Ostrum::IteratorRef next, end;
    std::size_t pathSize; // of the parent's path
    std::unordered_map<std::string_view, SameName> names;
  };

  void AddElement(Level& level, const Element& element) {
    auto& [total, visited] = level.names[element.GetName()];
    path.resize(level.pathSize);
    if (!path.empty()) path += '/';
    path += NumberedName(element.GetName(), ++visited, total);
    const bool hasValue = options.values && element.Begin() == element.End();
    AddLine(path, hasValue ? std::optional(element.GetValue()) : std::nullopt);
    AddAttributes(element);
  }

  void AddAttributes(const Element& element) {
    if (!options.attributes) return;
    for (const std::string_view name : element.AttributeNames()) {
      const std::string line = path + (path.empty() ? "@" : "/@") + std::string(name);
      AddLine(line,
              options.values ? std::optional(element.GetAttribute(name).GetValue()) : std::nullopt);
    }
  }

  void AddLine(const std::string& name, const std::optional<std::string>& value) {
    if (!options.json) return lines.push_back(value ? RowText({name, *value}) : name);
    if (!options.values) return lines.push_back(JsonText(name));
    if (value) lines.push_back(JsonMember(name, *value));
  }

  const Options& options;
  std::string path; // of the current element; empty for the root
};

} // namespace

ExitStatus List(const Options& options) {
  const Path path = ParsePath(options.arguments.empty() ? "." : options.arguments.front());
  if (!path.attribute.empty()) throw UsageError(path.text + ": list takes the path of elements");
  const auto document = ReadDocument(options);
  Matcher matcher(document->GetRoot());
  const Matches matches = matcher.Find(path.steps);
  if (matches.places.empty())
    throw CommandError(WhyMissing(path, matches.followed, matcher), ExitStatus::NothingFound);
  Listing listing(options);
  for (const Place& place : matches.places) listing.Add(place);
  if (options.json) {
    PrintJson(listing.lines, options.values ? "{}" : "[]");
  } else {
    for (const std::string& line : listing.lines) Print(line);
  }
  if (!listing.lines.empty()) return ExitStatus::Found;
  throw CommandError(path.text + " holds no elements", ExitStatus::NothingFound);
}
