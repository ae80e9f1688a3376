// The commands `get` and `list`.
#include <unordered_set>

#include "commands.h"
#include "input.h"
#include "output.h"
#include "paths.h"

namespace {

// Collects the values of paths for printing.
class Answers {
 public:
  Answers(Element root, const Options& given) : options(given), matcher(root) {}

  void Add(const Path& path) {
    // The second place tells whether a path is a key of its own.
    const std::size_t limit = options.all ? SIZE_MAX : 2;
    const Found found = matcher.Find(path, false, limit);
    if (!found.IsWhole(path) && options.defaultText)
      return AddMember(path.text, *options.defaultText);
    if (!found.IsWhole(path)) return missing.push_back(matcher.WhyMissing(path, found));
    const bool isKey = found.places.size() == 1 || !options.json;
    for (const Place& place : found.places) {
      AddMember(isKey ? path.text : PathOf(place, path.attribute), ValueAt(place, path.attribute));
      if (!options.all) return;
    }
  }

  JsonObject members;
  std::vector<std::string> missing; // why paths name nothing

 private:
  void AddMember(const std::string& key, const std::string& value) {
    if (!options.json || keys.insert(key).second) members.emplace_back(key, value);
  }

  const Options& options;
  Matcher matcher;
  std::unordered_set<std::string> keys; // of the JSON object
};

// Lists what is below a place, in document order.
class Listing {
 public:
  explicit Listing(const Options& given) : options(given) {}

  void AddBelow(Place place) {
    AddAttributes(place);
    const std::size_t top = place.size();
    for (Element next = place.back().FirstChild();;) {
      const bool isDeepest = options.depth > 0 && place.size() - top == options.depth;
      if (!next.IsNull() && !isDeepest) {
        place.push_back(next);
        Add(place);
        AddAttributes(place);
        next = next.FirstChild();
      } else if (place.size() > top) {
        next = place.back().NextSibling();
        place.pop_back();
      } else {
        return;
      }
    }
  }

  bool hasFound = false;
  JsonObject members; // paths; without --values each value is null

 private:
  void AddAttributes(const Place& place) {
    if (!options.attributes) return;
    for (const std::string_view name : place.back().AttributeNames()) Add(place, name);
  }

  // In JSON, what has no value has no entry beside those that have one.
  void Add(const Place& place, std::string_view attribute = {}) {
    hasFound = true;
    const std::string path = PathOf(place, attribute);
    const bool isLeaf = !attribute.empty() || place.back().FirstChild().IsNull();
    std::string value;
    if (options.values && isLeaf) value = ValueAt(place, attribute);
    if (!options.json) return Print(options.values && isLeaf ? path + '\t' + Field(value) : path);
    if (options.values && isLeaf) members.emplace_back(path, value);
    if (!options.values) members.emplace_back(path, nullptr);
  }

  const Options& options;
};

} // namespace

ExitStatus Get(const Options& options) {
  std::vector<Path> paths;
  for (const std::string& text : options.arguments) paths.push_back(ParsePath(text));
  const auto document = ReadDocument(options.file, options);
  Answers answers(document->GetRoot(), options);
  for (const Path& path : paths) answers.Add(path);
  if (!answers.missing.empty())
    throw CommandError(Listed(answers.missing), ExitStatus::NothingFound);
  if (options.json) {
    PrintJson(answers.members);
    return ExitStatus::Found;
  }
  const std::string end(1, options.endsWithZero ? '\0' : '\n');
  for (const auto& [path, value] : answers.members) Print(value.get_ref<const std::string&>(), end);
  return ExitStatus::Found;
}

ExitStatus List(const Options& options) {
  const Path path = ParsePath(options.arguments.empty() ? "." : options.arguments.front());
  if (!path.attribute.empty()) throw UsageError(path.text + ": list takes the path of elements");
  const auto document = ReadDocument(options.file, options);
  Matcher matcher(document->GetRoot());
  const Found found = matcher.Find(path);
  if (!found.IsWhole(path))
    throw CommandError(matcher.WhyMissing(path, found), ExitStatus::NothingFound);
  Listing listing(options);
  for (const Place& place : found.places) listing.AddBelow(place);
  if (options.json && options.values) {
    PrintJson(listing.members);
  } else if (options.json) {
    Json paths = Json::array();
    for (const auto& [line, value] : listing.members) paths.push_back(line);
    PrintJson(paths);
  }
  if (listing.hasFound) return ExitStatus::Found;
  throw CommandError(path.text + " holds no elements", ExitStatus::NothingFound);
}
