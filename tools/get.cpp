#include <algorithm>

#include "document.h"
#include "text.h"

namespace {

// The components of the path and the item. With --attribute, only elements that have the attribute
// count.
std::vector<PathComponent> Components(const Options& options, const std::string& item) {
  std::vector<PathComponent> components = SplitPath(options.arguments.front(), options.occurrence);
  std::ranges::copy(SplitPath(item), std::back_inserter(components));
  if (components.empty()) return components;
  PathComponent& last = components.back();
  if (options.index > 1) last.occurrence = options.index;
  if (last.attribute.empty()) last.attribute = options.attribute;
  return components;
}

// The values of one item. If there are none, appends the reason to `missing`.
std::vector<std::string> ReadItem(const Document& document, const Options& options,
                                  const std::string& item, std::string& missing) {
  const std::vector<PathComponent> components = Components(options, item);
  auto [place, matches, followed] = Follow(document.Tree().GetRoot(), components);
  const bool isThere = followed == components.size();
  if (!options.all) matches = {place.back()};
  std::vector<std::string> values;
  for (std::size_t i = 0; isThere && i < matches.size(); ++i) {
    place.back() = matches[i];
    if (const auto value = document.Read(place, options.attribute)) values.push_back(*value);
  }
  if (!values.empty()) return values;
  if (!missing.empty()) missing += ", ";
  missing += isThere ? "no attribute " + options.attribute + " in " + PathOf(place)
                     : WhyMissing(place, components[followed]);
  return values;
}

} // namespace

ExitStatus Get(const Document& document, const Options& options) {
  std::vector<std::string> items(options.arguments.begin() + 1, options.arguments.end());
  if (items.empty()) items.emplace_back(); // the path itself names the item
  const bool isOne = items.size() == 1;
  std::string missing;
  Json json;
  for (const std::string& item : items) {
    const std::vector<std::string> values = ReadItem(document, options, item, missing);
    Json& found = isOne ? json[options.all ? "values" : "value"] : json["values"].emplace_back();
    if (options.all || !values.empty()) found = options.all ? Json(values) : Json(values.front());
    if (options.json) continue;
    for (const std::string& value : values) PrintValue(value);
    if (values.empty() && !isOne && !options.all) PrintValue(""); // one line for each item
  }
  if (options.json) PrintJson(json);
  if (missing.empty()) return ExitStatus::Found;
  document.Note(missing);
  return ExitStatus::NothingFound;
}
