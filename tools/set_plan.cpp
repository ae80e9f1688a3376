#include "set_plan.h"

#include <stdexcept>

#include "command_error.h"

using Ostrum::Element;

SetPlan::SetPlan(const Document& openDocument, bool existing)
    : document(openDocument),
      onlyExisting(existing),
      copy(CopyOf(openDocument.Tree())),
      finder(copy->GetRoot(), names) {}

void SetPlan::Refuse(const std::string& path, const std::string& why) const {
  throw CommandError(document.File() + ": " + path + ": not set: " + why);
}

void SetPlan::Miss(const std::string& why) const {
  throw CommandError(document.File() + ": " + why, ExitStatus::NothingFound);
}

void SetPlan::Add(const std::string& path, const std::string& item, bool isAttribute, const std::string& value) {
  std::vector<PathComponent> components = SplitPath(path);
  if (!isAttribute) {
    const auto itemComponents = SplitPath(item, PathKind::Item);
    components.insert(components.end(), itemComponents.begin(), itemComponents.end());
  }
  if (item.empty()) throw CommandError(path + ": the name of an item is empty");
  auto [place, followed] = finder.Follow(components);
  RequireFirst(place);
  for (; followed < components.size(); ++followed) Make(place, components[followed]);
  if (place.empty() && !isAttribute) Refuse(item, "it is the root, whose own text the library can't set");
  const std::string shownPath = isAttribute ? PathOf(place) + '&' + item : PathOf(place);
  try {
    if (isAttribute) {
      SetAttributeAt(place, item, value);
    } else {
      SetText(finder.At(place), value);
    }
  } catch (const std::invalid_argument& reason) {
    Refuse(shownPath, reason.what());
  }
  Call call{finder.RootName(), item, isAttribute, value, shownPath};
  if (!isAttribute) {
    call.item = place.back().name;
    place.pop_back();
  }
  for (const Step& step : place) call.path += '\\' + step.name;
  calls.push_back(std::move(call));
}

// The library enters, at each name, the first element that begins with it.
void SetPlan::RequireFirst(const Place& place) {
  Place parent;
  for (const Step& step : place) {
    const Element& first = *finder.FirstThatBegins(finder.At(parent), step.name);
    if (&first == step.element) {
      parent.push_back(step);
      continue;
    }
    const std::string taken = PathBelow(parent, names.Of(first).text.value());
    parent.push_back(step);
    Refuse(PathOf(parent),
           "the library would take " + taken + ", the first element whose name begins with " + step.name);
  }
}

void SetPlan::Make(Place& place, const PathComponent& component) {
  if (onlyExisting || component.isFiltered) {
    const std::string why = finder.WhyMissing(place, component);
    if (onlyExisting) Miss(why);
    Refuse(PathBelow(place, component.text), why + ", and set makes none for a filter");
  }
  const std::string path = PathBelow(place, component.name);
  Element& parent = finder.At(place);
  if (const Element* first = finder.FirstThatBegins(parent, component.name)) {
    Refuse(path, "there is none, and the library would take " + PathBelow(place, names.Of(*first).text.value()) +
                     ", whose name begins with it");
  }
  try {
    place.push_back({&AddChild(parent, component.name), component.name, 1, 0});
  } catch (const std::invalid_argument& reason) {
    Refuse(path, reason.what());
  }
  made.push_back(path);
}

void SetPlan::SetAttributeAt(const Place& place, const std::string& name, const std::string& value) {
  const std::string owner = place.empty() ? finder.RootName() : PathOf(place);
  if (value.empty()) Refuse(owner + '&' + name, "the library can't give an attribute an empty value");
  const bool isNew = !HasAttribute(finder.At(place), name);
  if (isNew && onlyExisting) Miss("no attribute " + name + " in " + owner);
  SetAttribute(finder.At(place), name, value);
  if (isNew) made.push_back("the attribute " + name + " of " + owner);
}
