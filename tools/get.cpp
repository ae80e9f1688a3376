#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "commands.h"
#include "document.h"
#include "output.h"
#include "text.h"

namespace {

class Reader {
 public:
  Reader(const Document& openDocument, const Options& wanted) : document(openDocument), options(wanted) {}

  // One list of values for each item.
  std::vector<std::vector<std::string>> ReadAll() {
    const ElementFinder& finder = document.Finder();
    const auto path = SplitPath(options.path);
    std::uint32_t occurrence = options.occurrence;
    if (options.items.empty()) occurrence = 1; // the last name is the item
    const auto way = finder.Follow(path, occurrence);
    if (way.followed < path.size()) {
      missing = finder.WhyMissing(way.place, path[way.followed]);
      return std::vector<std::vector<std::string>>(std::max<std::size_t>(options.items.size(), 1));
    }
    if (!options.items.empty()) return ReadItems(way.place);
    if (way.place.empty()) return {ReadRoot()};
    const std::uint32_t index = options.index > 1 ? options.index : options.occurrence;
    return {ReadChildren(Place(way.place.begin(), way.place.end() - 1), path.back(), index)};
  }

  // Why there is nothing of some item; empty when there is something of each.
  const std::string& Missing() const { return missing; }

 private:
  std::vector<std::vector<std::string>> ReadItems(const Place& place) {
    std::vector<std::vector<std::string>> values;
    for (const std::string& item : options.items) {
      const auto rest = SplitPath(item, PathKind::Item);
      Place parent = place;
      std::size_t followed = 0;
      for (; followed + 1 < rest.size(); ++followed) {
        const auto steps = document.Finder().Children(document.Finder().At(parent), rest[followed]);
        if (steps.empty()) break;
        parent.push_back(steps.front());
      }
      values.emplace_back();
      if (rest.empty()) {
        Miss(options.path + ": the name of an item is empty");
      } else if (followed + 1 < rest.size()) {
        Miss(document.Finder().WhyMissing(parent, rest[followed]));
      } else {
        values.back() = ReadChildren(parent, rest.back(), options.index);
      }
    }
    return values;
  }

  std::vector<std::string> ReadRoot() {
    const std::optional<std::string> value = ReadAt({});
    if (value) return {*value};
    MissAttribute(document.Finder().RootName());
    return {};
  }

  std::vector<std::string> ReadChildren(const Place& parent, const PathComponent& component, std::uint32_t index) {
    const auto steps = document.Finder().Children(document.Finder().At(parent), component);
    std::vector<std::string> values;
    Place place = parent;
    for (const Step& step : steps) {
      if (!options.attribute.empty() && !HasAttribute(*step.element, options.attribute)) continue;
      if (!options.all && index-- > 1) continue;
      place.push_back(step);
      values.push_back(ReadAt(place).value());
      place.pop_back();
      if (!options.all) return values;
    }
    if (values.empty() && !options.attribute.empty() && !steps.empty()) {
      MissAttribute(PathBelow(parent, component.text));
    } else if (values.empty()) {
      Miss(document.Finder().WhyMissing(parent, component));
    }
    return values;
  }

  std::optional<std::string> ReadAt(const Place& place) const {
    return options.attribute.empty() ? document.ReadText(place) : document.ReadAttribute(place, options.attribute);
  }

  void MissAttribute(const std::string& path) { Miss("no attribute " + options.attribute + " in " + path); }
  void Miss(const std::string& why) { missing += missing.empty() ? why : ", " + why; }

  const Document& document;
  const Options& options;
  std::string missing;
};

nlohmann::ordered_json ToJson(const std::vector<std::string>& values, bool all) {
  if (!all) return values.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(ToUtf8(values.front()));
  auto json = nlohmann::ordered_json::array();
  for (const auto& value : values) json.push_back(ToUtf8(value));
  return json;
}

void PrintValuesJson(const std::vector<std::vector<std::string>>& items, bool all) {
  nlohmann::ordered_json json;
  if (items.size() == 1) {
    json[all ? "values" : "value"] = ToJson(items.front(), all);
  } else {
    for (const auto& values : items) json["values"].push_back(ToJson(values, all));
  }
  PrintJson(json);
}

} // namespace

ExitStatus Get(const Options& options) {
  const Document document(options);
  Reader reader(document, options);
  const auto items = reader.ReadAll();
  if (options.json) {
    PrintValuesJson(items, options.all);
  } else {
    for (const auto& values : items) {
      for (const auto& value : values) PrintValue(value);
      // Of several items, each keeps its line.
      if (values.empty() && items.size() > 1 && !options.all) PrintValue("");
    }
  }
  if (reader.Missing().empty()) return ExitStatus::Found;
  PrintNote(document.File() + ": " + reader.Missing());
  return ExitStatus::NothingFound;
}
