// The command `get`.
#include <unordered_set>

#include "commands.h"
#include "input.h"
#include "json.h"
#include "matches.h"
#include "missing.h"
#include "output.h"

namespace {

// Collects the values of paths for printing.
class Answers {
 public:
  Answers(Element root, const Options& given) : options(given), matcher(root) {}

  void Add(const Path& path) {
    const Matches matches = Find(path);
    if (matches.places.empty()) return AddDefault(path, matches.followed);
    const bool isOne = matches.places.size() == 1;
    for (const Place& place : matches.places) {
      AddValue(isOne ? path.text : KeyOf(place, path.attribute), ValueAt(place, path.attribute));
      if (!options.all) return;
    }
  }

  std::vector<std::string> values;  // or members of a JSON object
  std::vector<std::string> missing; // why paths name nothing

 private:
  Matches Find(const Path& path) {
    const bool isAttribute = !path.attribute.empty();
    // The second one tells whether a path is a key of its own.
    Matches matches = matcher.Find(path.steps, options.all || isAttribute ? SIZE_MAX : 2);
    if (isAttribute) KeepWithAttribute(path.attribute, matches.places);
    return matches;
  }

  std::string KeyOf(const Place& place, const std::string& attribute) const {
    return options.json ? PathOf(place, attribute) : "";
  }

  void AddDefault(const Path& path, std::size_t followed) {
    if (options.defaultText) return AddValue(path.text, *options.defaultText);
    missing.push_back(WhyMissing(path, followed, matcher));
  }

  void AddValue(const std::string& key, const std::string& value) {
    if (!options.json) return values.push_back(value);
    if (keys.insert(key).second) values.push_back(JsonMember(key, value));
  }

  const Options& options;
  Matcher matcher;
  std::unordered_set<std::string> keys; // of the object
};

} // namespace

ExitStatus Get(const Options& options) {
  const std::vector<Path> paths = ParsePaths(options.arguments);
  const auto document = ReadDocument(options);
  Answers answers(document->GetRoot(), options);
  for (const Path& path : paths) answers.Add(path);
  if (!answers.missing.empty())
    throw CommandError(Listed(answers.missing), ExitStatus::NothingFound);
  if (options.json) {
    PrintJson(answers.values);
  } else {
    std::string_view end("\n");
    if (options.endsWithZero) end = std::string_view("\0", 1);
    for (const std::string& value : answers.values) Print(value, end);
  }
  return ExitStatus::Found;
}
