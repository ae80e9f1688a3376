#include <algorithm>

#include "document.h"
#include "output.h"

namespace {

// The components of path and item. Where an attribute is asked for, only elements that have it count.
std::vector<PathComponent> Components(const Options& options, const std::string& item) {
  std::vector<PathComponent> components = SplitPath(options.arguments.front());
  if (!components.empty()) components.back().occurrence = options.occurrence;
  std::ranges::copy(SplitPath(item), std::back_inserter(components));
  if (components.empty()) return components;
  PathComponent& last = components.back();
  if (options.index > 1) last.occurrence = options.index;
  if (last.attribute.empty()) last.attribute = options.attribute;
  return components;
}

// The values of one item; none, and why, where there is none.
std::vector<std::string> ReadItem(const Document& document, const Options& options, const std::string& item,
                                  std::string& missing) {
  const std::vector<PathComponent> components = Components(options, item);
  auto [place, followed] = document.Finder().Follow(components);
  std::vector<std::string> values;
  const auto read = [&] {
    if (const auto value = document.Read(place, options.attribute)) values.push_back(*value);
  };
  if (followed == components.size() && (place.empty() || !options.all)) {
    read();
  } else if (followed == components.size()) {
    place.pop_back();
    for (const Step& step : document.Finder().Children(document.Finder().At(place), components.back())) {
      place.push_back(step);
      read();
      place.pop_back();
    }
  }
  if (!values.empty()) return values;
  if (!missing.empty()) missing += ", ";
  const bool lacksAttribute = !options.attribute.empty() && followed + 1 >= components.size();
  missing += lacksAttribute ? "no attribute " + options.attribute + " in " +
                                  (components.empty() ? "the root" : PathBelow(place, components.back().text))
                            : document.Finder().WhyMissing(place, components[followed]);
  return values;
}

} // namespace

ExitStatus Get(const Options& options) {
  const Document document(options);
  std::vector<std::string> items(options.arguments.begin() + 1, options.arguments.end());
  if (items.empty()) items.emplace_back(); // the last name of the path
  const bool isOne = items.size() == 1;
  std::string missing;
  Json json;
  for (const std::string& item : items) {
    const auto values = ReadItem(document, options, item, missing);
    Json found = options.all ? Json::array() : Json();
    for (const auto& value : values) {
      options.all ? found.push_back(value) : void(found = value);
      if (!options.json) PrintValue(value);
    }
    if (values.empty() && !isOne && !options.all && !options.json) PrintValue(""); // each keeps its line
    if (isOne) {
      json[options.all ? "values" : "value"] = found;
    } else {
      json["values"].push_back(found);
    }
  }
  if (options.json) PrintJson(json);
  if (missing.empty()) return ExitStatus::Found;
  document.Note(missing);
  return ExitStatus::NothingFound;
}
