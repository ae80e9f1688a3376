// The command `get`.
#include <unordered_set>

#include "commands.h"
#include "input.h"
#include "matches.h"
#include "output.h"

namespace {

// Collects the values of paths for printing.
class Answers {
 public:
  Answers(Element root, const Options& given) : options(given), matcher(root) {}

  void Add(const Path& path) {
    const std::vector<Place> places = matcher.Find(path.steps, path.attribute);
    if (places.empty() && !options.defaultText) return missing.push_back(matcher.WhyMissing(path));
    if (places.empty()) return AddMember(path.text, *options.defaultText);
    const bool isKey = places.size() == 1 || !options.json;
    for (const Place& place : places) {
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

} // namespace

ExitStatus Get(const Options& options) {
  std::vector<Path> paths;
  for (const std::string& text : options.arguments) paths.push_back(ParsePath(text));
  const auto document = ReadDocument(options);
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
