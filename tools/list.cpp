// The command `list`.
#include "commands.h"
#include "input.h"
#include "matches.h"
#include "output.h"

namespace {

// Lists what is below a place, in document order.
class Listing {
 public:
  explicit Listing(const Options& given) : options(given) {}

  void AddBelow(Place place) {
    AddAttributes(place);
    const std::size_t top = place.size();
    for (Element next = place.back().FirstChild();;) {
      const bool isDeepest = options.depth > 0 && place.size() - top == options.depth;
      if (!next.IsNull() && !isDeepest) {
        place.push_back(next);
        AddElement(place);
        next = next.FirstChild();
      } else if (place.size() > top) {
        next = place.back().NextSibling();
        place.pop_back();
      } else {
        return;
      }
    }
  }

  bool hasFound = false;
  JsonObject members; // paths; without --values each value is null

 private:
  void AddElement(const Place& place) {
    const Element& element = place.back();
    const bool hasValue = options.values && element.FirstChild().IsNull();
    AddLine(PathOf(place), hasValue, hasValue ? element.GetValue() : "");
    AddAttributes(place);
  }

  void AddAttributes(const Place& place) {
    if (!options.attributes) return;
    for (const std::string_view name : place.back().AttributeNames())
      AddLine(PathOf(place, name), options.values, options.values ? ValueAt(place, name) : "");
  }

  // In JSON, what has no value has no entry beside those that have one.
  void AddLine(const std::string& line, bool hasValue, const std::string& value) {
    hasFound = true;
    if (!options.json) return Print(hasValue ? RowText({line, value}) : line);
    if (hasValue) members.emplace_back(line, value);
    if (!options.values) members.emplace_back(line, nullptr);
  }

  const Options& options;
};

} // namespace

ExitStatus List(const Options& options) {
  const Path path = ParsePath(options.arguments.empty() ? "." : options.arguments.front());
  if (!path.attribute.empty()) throw UsageError(path.text + ": list takes the path of elements");
  const auto document = ReadDocument(options);
  Matcher matcher(document->GetRoot());
  const std::vector<Place> places = matcher.Find(path.steps);
  if (places.empty()) throw CommandError(matcher.WhyMissing(path), ExitStatus::NothingFound);
  Listing listing(options);
  for (const Place& place : places) listing.AddBelow(place);
  if (options.json && options.values) {
    PrintJson(listing.members);
  } else if (options.json) {
    Json paths = Json::array();
    for (const auto& [line, value] : listing.members) paths.push_back(line);
    PrintJson(paths);
  }
  if (listing.hasFound) return ExitStatus::Found;
  throw CommandError(path.text + " holds no elements", ExitStatus::NothingFound);
}
