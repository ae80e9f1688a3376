// The command `remove`.
#include <stdexcept>
#include <utility>

#include "changes.h"
#include "json.h"
#include "missing.h"

namespace {

class RemoveChanges final : public Changes {
 public:
  RemoveChanges(const Options& given, std::vector<Path> wanted)
      : Changes(given), paths(std::move(wanted)) {}

 private:
  struct Target {
    const Path* path;
    Place place;
  };

  void Run(Matcher& matcher) override {
    std::vector<Target> targets;
    for (const Path& path : paths) Collect(matcher, path, targets);
    for (const auto& [path, place] : targets) {
      try {
        Remove(*path, place);
      } catch (const std::invalid_argument& reason) {
        throw CommandError(path->text + ": not removed: " + reason.what());
      }
    }
  }

  void Collect(Matcher& matcher, const Path& path, std::vector<Target>& targets) {
    Matches matches = Find(matcher, path, path.steps);
    std::vector<Place>& places = matches.places;
    const bool isAttribute = !path.attribute.empty();
    if (isAttribute) KeepWithAttribute(path.attribute, places);
    if (places.empty())
      throw CommandError(WhyMissing(path, matches.followed, matcher), ExitStatus::NothingFound);
    RequireOne(path, places.size(), isAttribute ? "attributes" : "elements");
    const bool isOne = places.size() == 1;
    for (Place& place : places) {
      if (options.json) AddMember(isOne ? path.text : PathOf(place, path.attribute), path, place);
      targets.push_back({&path, std::move(place)});
    }
  }

  void AddMember(const std::string& key, const Path& path, const Place& place) {
    members.push_back(JsonMember(key, ValueAt(place, path.attribute)));
  }

  static void Remove(const Path& path, const Place& place) {
    Element element = place.back();
    if (!path.attribute.empty()) return element.RemoveAttribute(path.attribute);
    if (place.size() == 1) throw std::invalid_argument("a document needs its root");
    Element parent = place[place.size() - 2];
    parent.RemoveChild(element);
  }

  const std::vector<Path> paths;
};

} // namespace

ExitStatus Remove(const Options& options) {
  RemoveChanges changes(options, ParsePaths(options.arguments));
  return Apply(changes, options);
}
