// The command `set`.
#include <algorithm>
#include <stdexcept>

#include "changes.h"
#include "input.h"
#include "json.h"
#include "missing.h"
#include "output.h"
#include "system.h"

namespace {

struct Item {
  Path path;
  std::string value;
};

class SetChanges final : public Changes {
 public:
  SetChanges(const Options& given, const std::vector<Item>& wanted)
      : Changes(given), items(wanted) {}

 private:
  void Run(Matcher& matcher) override {
    for (const auto& [path, value] : items) {
      try {
        Set(matcher, path, value);
      } catch (const std::invalid_argument& reason) {
        throw CommandError(path.text + ": not set: " + reason.what());
      }
    }
  }

  void Set(Matcher& matcher, const Path& path, const std::string& value) {
    Matches matches = Find(matcher, path, path.steps);
    RequireOne(path, matches.places.size(), "elements");
    if (matches.places.empty()) matches.places = Create(matcher, path, matches.followed);
    for (const Place& place : matches.places) {
      if (path.attribute.empty()) {
        static_cast<Ostrum::Value>(place.back()).Set(value);
      } else {
        SetAttribute(matcher, path, place, value);
      }
      if (!options.json) continue;
      const bool isOne = matches.places.size() == 1;
      members.push_back(JsonMember(isOne ? path.text : PathOf(place, path.attribute), value));
    }
  }

  void SetAttribute(Matcher& matcher, const Path& path, const Place& place,
                    const std::string& value) {
    const bool isNew = place.back().GetAttribute(path.attribute).IsNull();
    if (isNew && options.existing) {
      throw CommandError("no attribute " + path.attribute + " in " + PathOf(place),
                         ExitStatus::NothingFound);
    }
    matcher.SetAttribute(place.back(), path.attribute, value);
    if (isNew) NoteCreated(place, path.attribute);
  }

  // Creates what follows the longest part of the path that names something.
  std::vector<Place> Create(Matcher& matcher, const Path& path, std::size_t followed) {
    const std::span missing = std::span(path.steps).subspan(followed);
    const bool canCreate = std::ranges::none_of(missing, &Step::HasAnyName) && !options.existing;
    if (!canCreate)
      throw CommandError(WhyMissing(path, followed, matcher), ExitStatus::NothingFound);
    if (followed == 0) throw CommandError(WhyMissing(path, followed, matcher));
    Matches parents = Find(matcher, path, std::span(path.steps).first(followed));
    RequireOne(path, parents.places.size(), "places for a new element");
    for (Place& place : parents.places) {
      for (const Step& step : missing) {
        RequireNext(matcher, path, place, step);
        const Element parent = place.back();
        place.push_back(matcher.Add(parent, step));
        NoteCreated(place);
        const std::string misread = MisreadNumber(parent, step.name);
        if (!misread.empty()) created.back() += " (" + misread + " is the one of that number)";
      }
    }
    return std::move(parents.places);
  }

  // An element can be created only with the number that it will have.
  static void RequireNext(Matcher& matcher, const Path& path, const Place& place,
                          const Step& step) {
    if (step.position == Position::All || step.position == Position::Next) return;
    const std::uint32_t count = matcher.Count(place.back(), step);
    if (step.position == Position::Number && step.number == count + 1) return;
    throw CommandError(path.text + ": " + PathOf(place) + " has " + std::to_string(count) + ' ' +
                       step.WithoutPosition() + "; the next is number " +
                       std::to_string(count + 1) + ", or last()+1");
  }

  const std::vector<Item>& items;
};

void Append(std::vector<Item>& items, const std::string& path, const std::string& value) {
  items.push_back({ParsePath(path), value});
}

// A value from standard input, without the line ending that a program put at its end.
std::string ValueFromInput() {
  std::string value = ReadBytes("-");
  if (value.ends_with('\n')) value.erase(value.size() - (value.ends_with("\r\n") ? 2 : 1));
  auto utf8 = console::ToUtf8(value);
  if (!utf8) throw CommandError("standard input is not text in the locale's character set");
  return *std::move(utf8);
}

void AppendFromJson(const std::string& file, std::vector<Item>& items) {
  try {
    for (const auto& [path, value] : ParseJsonObject(ReadBytes(file))) Append(items, path, value);
  } catch (const UsageError&) {
    throw;
  } catch (const std::exception& reason) {
    throw UsageError("--from: " + std::string(reason.what()));
  }
}

// Paths and values, those of --from first.
std::vector<Item> ItemsOf(const Options& options) {
  std::vector<std::string> words = options.arguments;
  const bool lacksValue = words.size() % 2 != 0;
  if (lacksValue && !options.fromInput) throw UsageError(words.back() + ": a PATH without a VALUE");
  if (!lacksValue && options.fromInput) throw UsageError("--stdin: the last PATH has a VALUE");
  const int readers = (options.file == "-") + (options.from == "-") + options.fromInput;
  if (readers > 1) throw UsageError("FILE -, --stdin and --from - exclude each other");
  std::vector<Item> items;
  if (!options.from.empty()) AppendFromJson(options.from, items);
  for (std::size_t i = 0; i + 1 < words.size(); i += 2) Append(items, words[i], words[i + 1]);
  if (lacksValue) Append(items, words.back(), "");
  if (lacksValue) items.back().value = ValueFromInput();
  if (items.empty()) throw UsageError("nothing to set: give PATH VALUE or --from");
  return items;
}

} // namespace

ExitStatus Set(const Options& options) {
  const std::vector<Item> items = ItemsOf(options);
  SetChanges changes(options, items);
  const auto namesRoot = [](const Item& item) {
    return item.path.IsAbsolute() && !item.path.steps.front().HasAnyName();
  };
  const auto named = std::ranges::find_if(items, namesRoot);
  return Apply(changes, options, named == items.end() ? "" : named->path.steps.front().name);
}
