#include <algorithm>
#include <stdexcept>

#include "edit.h"
#include "matches.h"

namespace {

// Applies changes to one document.
class Application {
 public:
  Application(Element root, const Options& given, const Outcome* expected)
      : options(given), before(expected), matcher(root) {}

  void Set(const Change& change) {
    const Path& path = change.path;
    std::vector<Place> places = Find(path, path.steps);
    RequireOne(path, places, "elements");
    if (places.empty()) places = Create(path);
    for (Place& place : places) {
      if (path.attribute.empty()) {
        place.back().SetText(*change.value);
      } else {
        SetAttribute(change, place);
      }
    }
    AddValues(path, places);
  }

  // The removals are applied at the end, after all paths were found.
  void Collect(const Change& change) {
    const Path& path = change.path;
    std::vector<Place> places = Find(path, path.steps, path.attribute);
    if (places.empty()) throw CommandError(matcher.WhyMissing(path), ExitStatus::NothingFound);
    RequireOne(path, places, path.attribute.empty() ? "elements" : "attributes");
    AddValues(path, places);
    for (Place& place : places) removals.emplace_back(&path, std::move(place));
  }

  void Remove() {
    for (const auto& [path, place] : removals) {
      Element element = place.back();
      Explain(*path, "not removed", [&] {
        if (!path->attribute.empty()) return element.RemoveAttribute(path->attribute);
        if (place.size() == 1) throw std::invalid_argument("a document needs its root");
        Element(place[place.size() - 2]).RemoveChild(element);
      });
    }
  }

  // Calls what may throw the document's refusal of a change.
  template <class Call>
  static void Explain(const Path& path, const char* refusal, Call call) {
    try {
      call();
    } catch (const std::invalid_argument& reason) {
      throw CommandError(path.text + ": " + refusal + ": " + reason.what());
    }
  }

  Outcome outcome;

 private:
  std::vector<Place> Find(const Path& path, std::span<const Step> steps,
                          std::string_view attribute = {}) {
    std::vector<std::size_t> found;
    std::vector<Place> places = matcher.Find(steps, attribute, &found);
    found.push_back(places.size());
    for (const std::size_t count : found) {
      const std::size_t i = outcome.found.size();
      outcome.found.push_back(count);
      const bool isAsBefore =
          before == nullptr || (i < before->found.size() && before->found[i] == count);
      if (isAsBefore) continue;
      throw CommandError("not saved: another program changed the file meanwhile, and " + path.text +
                         " may now name something else");
    }
    return places;
  }

  void RequireOne(const Path& path, const std::vector<Place>& places, const char* what) const {
    if (places.size() <= 1 || options.all) return;
    throw CommandError(path.text + " names " + std::to_string(places.size()) + ' ' + what +
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

  // Creates what follows the longest part of the path that names something.
  std::vector<Place> Create(const Path& path) {
    const std::size_t followed = matcher.Followed(path);
    const std::span missing = std::span(path.steps).subspan(followed);
    const bool canCreate = std::ranges::none_of(missing, &Step::HasAnyName) && !options.existing;
    if (!canCreate) throw CommandError(matcher.WhyMissing(path), ExitStatus::NothingFound);
    if (followed == 0) throw CommandError(matcher.WhyMissing(path));
    std::vector<Place> places = Find(path, std::span(path.steps).first(followed));
    RequireOne(path, places, "places for a new element");
    for (Place& place : places) {
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
    return places;
  }

  // An element can be created only with the number that it will have.
  void RequireNext(const Path& path, const Place& place, const Step& step) {
    if (step.position == Position::All || step.position == Position::Next) return;
    const std::size_t count = matcher.Candidates(place.back(), step).size();
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
  std::vector<std::pair<const Path*, Place>> removals;
};

} // namespace

Outcome ApplyChanges(const std::vector<Change>& changes, const Options& options,
                     Ostrum::Document& document, const Outcome* before) {
  Application application(document.GetRoot(), options, before);
  for (const Change& change : changes) {
    if (!change.value) {
      application.Collect(change);
    } else {
      Application::Explain(change.path, "not set", [&] { application.Set(change); });
    }
  }
  application.Remove();
  return std::move(application.outcome);
}
