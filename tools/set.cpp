#include <stdexcept>

#include "document.h"
#include "output.h"
#include "text.h"

namespace {

// Sets items in a copy of the document, to decide whether the library would touch what was named, and nothing else.
class SetPlan {
 public:
  // What SetXMLItem is to be called with, and how a person calls the item.
  struct Call {
    std::string path, item, value;
  };

  SetPlan(const Document& openDocument, const Options& wanted)
      : document(openDocument),
        options(wanted),
        copy(Parse(document.Tree().GenerateXML(false), parsed)),
        finder(copy->GetRoot()) {}

  // Throws CommandError where the library would not set what was named, or XML can't carry it; of status NothingFound
  // where it is missing and must exist.
  void Add(const std::string& item, const std::string& value) {
    if (item.empty()) Refuse(item, "the name of an item is empty");
    std::vector<PathComponent> components = SplitPath(options.arguments.front());
    if (!options.itemIsAttribute) {
      const auto rest = SplitPath(item);
      components.insert(components.end(), rest.begin(), rest.end());
    }
    auto [place, followed] = finder.Follow(components);
    RequireFirst(place);
    try {
      for (; followed < components.size(); ++followed) Make(place, components[followed]);
      if (options.itemIsAttribute) {
        SetAttributeAt(place, item, value);
      } else if (place.empty()) {
        throw std::invalid_argument("the library can't set the root's own text");
      } else {
        static_cast<Ostrum::Value>(finder.At(place)).Set(value);
      }
    } catch (const std::invalid_argument& reason) {
      Refuse(options.itemIsAttribute ? PathBelow(place, item) : PathOf(place), reason.what());
    }
    Call call{std::string(copy->GetRoot().GetName()), item, value};
    if (!options.itemIsAttribute) {
      call.item = place.back().name;
      place.pop_back();
    }
    for (const Step& step : place) call.path += '\\' + step.name;
    calls.push_back(std::move(call));
  }

  std::string Result() const { return copy->GenerateXML(false); }

  std::vector<Call> calls;
  std::vector<std::string> made; // what was missing

 private:
  // What the library enters at each name.
  static Element& FirstThatBegins(const Element& parent, const std::string& name) {
    return parent.NthChild(Ostrum::NameMatch::Prefix, name, 1);
  }

  void RequireFirst(const Place& place) const {
    Place parent;
    for (const Step& step : place) {
      const Element& first = FirstThatBegins(finder.At(parent), step.name);
      const std::string taken = PathBelow(parent, std::string(first.GetName()));
      parent.push_back(step);
      if (&first == step.element) continue;
      Refuse(PathOf(parent), "the library would take " + taken + ", the first whose name begins with " + step.name);
    }
  }

  void Make(Place& place, const PathComponent& component) {
    Element& parent = finder.At(place);
    const std::string path = PathBelow(place, component.name);
    if (options.existing) Miss(finder.WhyMissing(place, component));
    if (!component.attribute.empty()) {
      Refuse(path, finder.WhyMissing(place, component) + ", and set makes none for a filter");
    }
    const Element& first = FirstThatBegins(parent, component.name);
    if (!first.IsNull()) {
      Refuse(path, "there is none, and the library would take " + PathBelow(place, std::string(first.GetName())));
    }
    Element& child = parent.AddElementInto(component.name);
    if (child.IsNull()) throw std::invalid_argument(component.name + " can't be made there, or be an element's name");
    place.push_back({&child, component.name, 1, 0});
    made.push_back(path);
  }

  void SetAttributeAt(const Place& place, const std::string& name, const std::string& value) {
    const std::string owner = place.empty() ? std::string(copy->GetRoot().GetName()) : PathOf(place);
    if (value.empty()) throw std::invalid_argument("the library can't give an attribute an empty value");
    Ostrum::Attribute attribute = finder.At(place).GetAttribute(name);
    const bool isNew = attribute.IsNull();
    if (isNew && options.existing) Miss("no attribute " + name + " in " + owner);
    if (isNew) attribute = finder.At(place).CreateAttribute(name);
    static_cast<Ostrum::Value>(attribute).Set(value);
    if (isNew) made.push_back("the attribute " + name + " of " + owner);
  }

  [[noreturn]] void Refuse(const std::string& path, const std::string& why) const {
    throw CommandError(document.File() + ": " + path + ": not set: " + why);
  }
  [[noreturn]] void Miss(const std::string& why) const {
    throw CommandError(document.File() + ": " + why, ExitStatus::NothingFound);
  }

  const Document& document;
  const Options& options;
  Examination parsed;
  std::unique_ptr<Ostrum::Document> copy;
  ElementFinder finder;
};

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (;;) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

// The lines that differ: old ones behind "-", new ones behind "+".
std::string LineDiff(std::string_view before, std::string_view after) {
  const auto old = SplitLines(before), now = SplitLines(after);
  std::string text;
  const auto append = [&text](char sign, std::string_view line) { text.append(1, sign).append(line).append(1, '\n'); };
  std::size_t i = 0, j = 0;
  while (i < old.size() || j < now.size()) {
    // How many lines to pass until both go on alike; so far that there is none, all that is left has changed.
    constexpr std::size_t farthest = 2000;
    std::size_t sum = 0, passed = 0;
    const auto goOnAlike = [&] {
      const std::size_t left = i + passed, right = j + sum - passed;
      return left < old.size() && right < now.size() ? old[left] == now[right]
                                                     : left == old.size() && right == now.size();
    };
    while (sum < farthest && !goOnAlike()) passed = passed < sum ? passed + 1 : (++sum, 0);
    const std::size_t removed = sum < farthest ? passed : old.size() - i;
    const std::size_t added = sum < farthest ? sum - passed : now.size() - j;
    for (const std::size_t end = i + removed; i < end; ++i) append('-', old[i]);
    for (const std::size_t end = j + added; j < end; ++j) append('+', now[j]);
    ++i, ++j;
  }
  return text;
}

void Save(const Document& document, const Options& options, const std::vector<SetPlan::Call>& calls) {
  for (const auto& [path, item, value] : calls) {
    const auto code = SetXMLItem(document.List(), *document.Cookie(), ToLocale(path)->c_str(), ToLocale(item)->c_str(),
                                 options.itemIsAttribute ? "ATTRIBUTE" : "ELEMENT", ToLocale(value)->c_str());
    if (code == XmlSuccess) continue;
    throw CommandError(
        document.File() + ": " + path + '\\' + item + ": not saved: " +
        (code == XmlOutOfMemory ? "out of memory" : "the file or its folder can't be written; -v tells more"));
  }
}

} // namespace

// All is decided before the first of the items is written.
ExitStatus Set(const Options& options) {
  const Document document(options);
  SetPlan plan(document, options);
  for (auto item = options.arguments.begin() + 1; item != options.arguments.end(); item += 2)
    plan.Add(item[0], item[1]);
  const std::string changes = options.dryRun ? LineDiff(document.Tree().GenerateXML(false), plan.Result()) : "";
  if (!options.dryRun) Save(document, options, plan.calls);
  std::string made;
  for (const std::string& path : plan.made) made += (made.empty() ? "" : ", ") + path;
  if (options.json) {
    PrintJson({{"saved", !options.dryRun}, {"made", made}, {"changes", changes}});
  } else if (!changes.empty()) {
    PrintValue(changes.substr(0, changes.size() - 1)); // the line end is printed with it
  }
  if (!made.empty()) document.Note((options.dryRun ? "would make " : "made ") + made);
  return ExitStatus::Found;
}
