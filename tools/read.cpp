// The commands `get` and `list`.
#include "input_output.h"
#include "paths.h"

namespace {

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
  Members members; // for JSON; values are empty if none are wanted

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
    if (hasValue || !options.values) members.emplace_back(path, value);
  }

  const Options& options;
};

} // namespace

ExitStatus Get(const Options& options) {
  if (options.json && options.endsWithZero) throw UsageError("--json excludes -z");
  std::vector<Path> paths;
  for (const std::string& text : options.arguments) paths.push_back(ParsePath(text));
  const auto document = ReadDocument(options.file, options);
  Matcher matcher(document->GetRoot());
  Members members;
  std::vector<std::string> missing;
  for (const Path& path : paths) {
    // In JSON, the second place tells whether a path is a key of its own.
    Found found = matcher.Find(path, false, options.all ? SIZE_MAX : 1U + options.json);
    const bool isKey = found.places.size() == 1 || !options.json;
    if (!found.IsWhole(path)) {
      // Finding out what is there instead can take a look at each sibling.
      const bool isListed = missing.size() < maxListed;
      if (!options.defaultText) missing.push_back(isListed ? matcher.WhyMissing(path, found) : "");
      members.emplace_back(path.text, options.defaultText.value_or(""));
      continue;
    }
    if (!options.all) found.places.resize(1);
    for (const Place& place : found.places)
      members.emplace_back(isKey ? path.text : PathOf(place, path.attribute),
                           ValueAt(place, path.attribute));
  }
  if (!missing.empty()) throw NothingFound(Listed(missing));
  const std::string end(1, options.endsWithZero ? '\0' : '\n');
  if (options.json) {
    PrintJson(members);
  } else {
    for (const auto& [path, value] : members) Print(value, end);
  }
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
  if (options.json && options.values) PrintJson(listing.members);
  if (options.json && !options.values) {
    Json paths = Json::array();
    for (const auto& [member, value] : listing.members) paths.push_back(member);
    PrintJson(paths);
  }
  if (listing.hasFound) return ExitStatus::Found;
  throw NothingFound(path.text + " holds no elements" +
                     (options.attributes ? " or attributes" : ""));
}
