// The commands `get` and `list`.
#include <unordered_set>

#include "input_output.h"
#include "paths.h"

namespace {

// Collects the values of paths for printing.
class Answers {
 public:
  Answers(Element root, const Options& given) : options(given), matcher(root) {}

  void Add(const Path& path) {
    // The second place tells whether a path is a key of its own.
    const Found found = matcher.Find(path, false, options.all ? SIZE_MAX : 2);
    if (!found.IsWhole(path)) {
      if (!options.defaultText) return missing.push_back(matcher.WhyMissing(path, found));
      return Add(path.text, *options.defaultText);
    }
    const bool isKey = found.places.size() == 1 || !options.json;
    for (const Place& place : found.places) {
      Add(isKey ? path.text : PathOf(place, path.attribute), ValueAt(place, path.attribute));
      if (!options.all) return;
    }
  }

  JsonObject members;
  std::vector<std::string> missing; // why paths name nothing

 private:
  void Add(const std::string& key, const std::string& value) {
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
    Element next = place.back().FirstChild();
    while (!next.IsNull() || place.size() > top) {
      if (next.IsNull()) {
        next = place.back().NextSibling();
        place.pop_back();
        continue;
      }
      place.push_back(next);
      Add(place);
      AddAttributes(place);
      const bool isDeepest = place.size() - top == options.depth;
      next = isDeepest ? Element() : next.FirstChild();
    }
  }

  bool hasFound = false;
  JsonObject members; // with values
  Json paths = Json::array();

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
    const bool hasValue = options.values && isLeaf;
    std::string value;
    if (hasValue) value = ValueAt(place, attribute);
    if (!options.json) return Print(hasValue ? path + '\t' + Field(value) : path);
    if (hasValue) members.emplace_back(path, value);
    if (!options.values) paths.push_back(path);
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
  if (!answers.missing.empty()) throw NothingFound(Listed(answers.missing));
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
  if (!found.IsWhole(path)) throw NothingFound(matcher.WhyMissing(path, found));
  Listing listing(options);
  for (const Place& place : found.places) listing.AddBelow(place);
  if (options.json) PrintJson(options.values ? Json(listing.members) : listing.paths);
  if (listing.hasFound) return ExitStatus::Found;
  throw NothingFound(path.text + " holds no elements");
}
