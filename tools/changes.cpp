#include <algorithm>
#include <span>
#include <stdexcept>

#include "edit.h"
#include "paths.h"

namespace {

// Applies changes to one document.
class Application {
 public:
  Application(Element root, const Options& given, const Outcome* expected)
      : options(given), before(expected), matcher(root) {}

  Outcome Apply(const std::vector<Change>& changes) {
    for (const Change& change : changes) {
      try {
        if (change.value) {
          Set(change);
        } else {
          Collect(change.path);
        }
      } catch (const std::invalid_argument& reason) {
        throw CommandError(change.path.text + ": not set: " + reason.what());
      }
    }
    for (const auto& [path, place] : removals) {
      try {
        Remove(place, path->attribute);
      } catch (const std::invalid_argument& reason) {
        throw CommandError(path->text + ": not removed: " + reason.what());
      }
    }
    return std::move(outcome);
  }

 private:
  void Set(const Change& change) {
    const Path& path = change.path;
    Found found = Find(path, true);
    if (!found.isAll) Create(path, found);
    RequireOne(path, found, "elements");
    for (Place& place : found.places) {
      if (path.attribute.empty()) {
        place.back().SetText(*change.value);
      } else {
        SetAttribute(change, place);
      }
    }
    AddValues(path, found.places);
  }

  // The removals are applied at the end, after all paths were found.
  void Collect(const Path& path) {
    Found found = Find(path, false);
    if (!found.isAll) throw CommandError(matcher.WhyMissing(path, found), ExitStatus::NothingFound);
    RequireOne(path, found, path.attribute.empty() ? "elements" : "attributes");
    AddValues(path, found.places);
    for (Place& place : found.places) removals.emplace_back(&path, std::move(place));
  }

  static void Remove(const Place& place, const std::string& attribute) {
    Element element = place.back();
    if (!attribute.empty()) return element.RemoveAttribute(attribute);
    if (place.size() == 1) throw std::invalid_argument("a document needs its root");
    Element(place[place.size() - 2]).RemoveChild(element);
  }

  Found Find(const Path& path, bool isAttributeOptional) {
    Found found = matcher.Find(path, isAttributeOptional);
    found.counted.insert(found.counted.end(), {found.steps, found.places.size()});
    const bool isAsBefore =
        before == nullptr || before->found[outcome.found.size()] == found.counted;
    if (!isAsBefore)
      throw CommandError("not saved: another program changed the file meanwhile, and " + path.text +
                         " may now name something else");
    outcome.found.push_back(found.counted);
    return found;
  }

  void RequireOne(const Path& path, const Found& found, const char* what) const {
    if (found.places.size() <= 1 || options.all) return;
    throw CommandError(path.text + " names " + std::to_string(found.places.size()) + ' ' + what +
                       "; --all takes all of them, a number such as [1] one");
  }

  void SetAttribute(const Change& change, const Place& place) {
    const std::string& name = change.path.attribute;
    const bool isNew = place.back().GetAttribute(name).IsNull();
    if (isNew && options.existing)
      throw CommandError("no attribute " + name + " in " + PathOf(place), ExitStatus::NothingFound);
    matcher.SetAttribute(place.back(), name, *change.value);
    if (isNew) NoteCreated(place, name);
  }

  // Creates what is missing of the path in each place that was found, and makes it the place.
  void Create(const Path& path, Found& found) {
    const std::span missing = std::span(path.steps).subspan(found.steps);
    const bool canCreate = std::ranges::none_of(missing, &Step::HasAnyName) && !options.existing;
    if (!canCreate) throw CommandError(matcher.WhyMissing(path, found), ExitStatus::NothingFound);
    if (found.steps == 0) throw CommandError(matcher.WhyMissing(path, found));
    RequireOne(path, found, "places for a new element");
    for (Place& place : found.places) {
      for (const Step& step : missing) {
        RequireNext(path, place, step);
        const Element parent = place.back();
        place.push_back(matcher.Add(parent, step));
        NoteCreated(place);
        const std::string misread = MisreadNumber(parent, step.name);
        if (!misread.empty())
          outcome.created.back() += " (" + misread + " is the one of that number)";
      }
    }
  }

  // An element can be created only with the number that it will have.
  void RequireNext(const Path& path, const Place& place, const Step& step) {
    if (step.position == Position::All || step.position == Position::Next) return;
    const std::uint32_t count = matcher.Count(place.back(), step);
    const std::string next = std::to_string(count + 1);
    if (step.position == Position::Number && step.number == count + 1) return;
    throw CommandError(path.text + ": " + PathOf(place) + " has " + std::to_string(count) + ' ' +
                       step.WithoutPosition() + "; the next is number " + next + ", or last()+1");
  }

  void NoteCreated(const Place& place, std::string_view attribute = {}) {
    const bool isShown = outcome.created.size() < maxListed;
    outcome.created.push_back(isShown ? PathOf(place, attribute) : "");
  }

  void AddValues(const Path& path, const std::vector<Place>& places) {
    if (!options.json) return;
    for (const Place& place : places) {
      const std::string key = places.size() == 1 ? path.text : PathOf(place, path.attribute);
      outcome.values.emplace_back(key, ValueAt(place, path.attribute));
    }
  }

  const Options& options;
  const Outcome* const before; // null the first time
  Matcher matcher;
  Outcome outcome;
  std::vector<std::pair<const Path*, Place>> removals;
};

} // namespace

Outcome ApplyChanges(const std::vector<Change>& changes, const Options& options,
                     Ostrum::Document& document, const Outcome* before) {
  return Application(document.GetRoot(), options, before).Apply(changes);
}
