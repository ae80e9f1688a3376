#include <sstream>
#include <stdexcept>

#include "document.h"
#include "text.h"

namespace {

// Sets items in a copy of the document, to check that the library would change the named items and
// nothing else.
class SetPlan {
 public:
  SetPlan(const Document& openDocument, const Options& wanted)
      : document(openDocument),
        options(wanted),
        copy(Parse(document.Tree().GenerateXML(false)).document) {}

  // Throws CommandError if the library would set something else or the value is not allowed in XML;
  // with status NothingFound if something is missing that must exist.
  void Add(const std::string& item, const std::string& value) try {
    if (item.empty()) document.Fail("the name of an item is empty");
    const std::string& path = options.arguments.front();
    const std::string inPath = path.empty() ? item : path + '\\' + item;
    const std::vector<PathComponent> components =
        SplitPath(options.itemIsAttribute ? path : inPath);
    auto [place, matches, followed] = Follow(copy->GetRoot(), components);
    for (std::size_t step = 1; step < place.size(); ++step) RequireTaken(place, step);
    for (; followed < components.size(); ++followed) Make(place, components[followed]);
    shown = options.itemIsAttribute ? PathBelow(place, item) : PathOf(place);
    std::string name = item;
    if (options.itemIsAttribute) {
      SetAttributeAt(place, item, value);
    } else {
      if (place.size() == 1) Refuse("the library can't set the root's own text");
      static_cast<Ostrum::Value>(place.back().element).Set(value);
      name = place.back().name;
      place.pop_back();
    }
    std::string asked; // names are converted one by one, since the separator is the same byte in
                       // every locale
    for (const Step& step : place)
      asked += (asked.empty() ? "" : "\\") + ToLocale(step.name).value();
    calls.push_back({asked, ToLocale(name).value(), ToLocale(value).value(), shown});
  } catch (const std::invalid_argument& reason) {
    document.Fail(shown + ": not set: " + reason.what());
  }

  std::string Result() const { return copy->GenerateXML(false); }

  std::vector<SetCall> calls;
  std::string made; // the elements and attributes that were missing

 private:
  [[noreturn]] static void Refuse(const std::string& why) { throw std::invalid_argument(why); }

  // For each name the library takes the first child whose name begins with it and can be
  // represented in the locale. That must be the step's element; no element if that is the null
  // element.
  void RequireTaken(const Place& place, std::size_t step) {
    const Step& wanted = place[step];
    Step first{};
    std::uint32_t n = 0;
    do {
      first.element = place[step - 1].element.NthChild(Ostrum::NameMatch::Prefix, wanted.name, ++n);
      first.name = first.element.GetName();
    } while (!first.element.IsNull() && !HasForm(first.name));
    if (first.element == wanted.element) return;
    const Place parent(place.begin(), place.begin() + static_cast<std::ptrdiff_t>(step));
    shown = PathBelow(parent, wanted.Text());
    Refuse("the library would take " + PathBelow(parent, first.Text()) +
           ", the first whose name begins with " + wanted.name);
  }

  void Make(Place& place, const PathComponent& component) {
    if (options.existing) document.Fail(WhyMissing(place, component), ExitStatus::NothingFound);
    shown = PathBelow(place, component.text);
    if (!component.attribute.empty())
      Refuse(WhyMissing(place, component) + ", and set makes none for a filter");
    Element parent = place.back().element;
    place.push_back({Element(), component.name});
    RequireTaken(place, place.size() - 1);
    place.back().element = parent.AddElementInto(component.name);
    if (place.back().element.IsNull()) Refuse(WhyNotMade(parent, component.name));
    NoteMade(shown);
  }

  void SetAttributeAt(const Place& place, const std::string& name, const std::string& value) {
    if (value.empty()) Refuse("the library can't give an attribute an empty value");
    Element element = place.back().element;
    Ostrum::Attribute attribute = element.GetAttribute(name);
    const bool isNew = attribute.IsNull();
    const std::string inElement = name + " in " + PathOf(place);
    if (isNew && options.existing)
      document.Fail("no attribute " + inElement, ExitStatus::NothingFound);
    if (isNew) attribute = element.CreateAttribute(name);
    if (attribute.IsNull()) Refuse(WhyNotMade(element, name));
    static_cast<Ostrum::Value>(attribute).Set(value);
    if (isNew) NoteMade("the attribute " + inElement);
  }

  void NoteMade(const std::string& what) { made += (made.empty() ? "" : ", ") + what; }
  static std::string WhyNotMade(const Element& parent, const std::string& name) {
    return parent.CanBeChanged() ? name + " is not a valid XML name"
                                 : "the element comes from an entity";
  }

  const Document& document;
  const Options& options;
  const std::unique_ptr<Ostrum::Document> copy;
  std::string shown; // the current item, for messages
};

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  lines.emplace_back("\n"); // the end, which differs from every line
  return lines;
}

// The lines that differ: "-" before old ones, "+" before new ones.
std::string LineDiff(const std::string& before, const std::string& after) {
  const auto old = SplitLines(before), now = SplitLines(after);
  std::string text;
  const auto append = [&text](char sign, const auto& line) {
    text.append(1, sign).append(line).append(1, '\n');
  };
  for (std::size_t i = 0, j = 0; i < old.size() || j < now.size(); ++i, ++j) {
    // The smallest number of lines to skip until both texts continue alike. Beyond `farthest`, all
    // remaining lines count as changed.
    constexpr std::size_t farthest = 2000;
    std::size_t sum = 0, passed = 0;
    const auto goOnAlike = [&] {
      const std::size_t left = i + passed, right = j + sum - passed;
      return left < old.size() && right < now.size() && old[left] == now[right];
    };
    while (sum < farthest && !goOnAlike()) passed = passed < sum ? passed + 1 : (++sum, 0);
    const std::size_t oldEnd = sum < farthest ? i + passed : old.size() - 1;
    const std::size_t newEnd = sum < farthest ? j + sum - passed : now.size() - 1;
    while (i < oldEnd) append('-', old[i++]);
    while (j < newEnd) append('+', now[j++]);
  }
  return text;
}

} // namespace

// All items are checked before the first one is written.
ExitStatus Set(const Document& document, const Options& options) {
  SetPlan plan(document, options);
  for (auto item = options.arguments.begin() + 1; item != options.arguments.end(); item += 2)
    plan.Add(item[0], item[1]);
  const std::string changes =
      options.dryRun ? LineDiff(document.Tree().GenerateXML(false), plan.Result()) : "";
  for (const SetCall& call : plan.calls) {
    if (!options.dryRun) document.Set(call, options.itemIsAttribute ? "ATTRIBUTE" : "ELEMENT");
  }
  if (options.json)
    PrintJson({{"saved", !options.dryRun}, {"made", plan.made}, {"changes", changes}});
  if (!options.json && !changes.empty())
    PrintValue(changes.substr(0, changes.size() - 1)); // PrintValue adds the line end
  if (!plan.made.empty()) document.Note((options.dryRun ? "would make " : "made ") + plan.made);
  return ExitStatus::Found;
}
