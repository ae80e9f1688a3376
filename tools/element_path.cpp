#include "element_path.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>

#include "command_error.h"
#include "text.h"

using Ostrum::Element;

namespace {

void RequireWhole(const PathComponent& component, bool hasValue, const std::string& path) {
  if (component.name.empty()) throw CommandError(path + ": a name is empty; separate names with \\ or /");
  if (component.isFiltered && (!hasValue || component.attribute.empty())) {
    throw CommandError(component.text + ": a filter is written Name&attribute=value");
  }
}

char Lower(char byte) { return static_cast<char>(std::tolower(static_cast<unsigned char>(byte))); }

// How many letters must be changed, added or left out to make one name of the other, letter case apart.
std::size_t Distance(const std::string& left, const std::string& right) {
  constexpr std::size_t longest = 64; // longer names are not mistyped but other names
  if (std::max(left.size(), right.size()) > longest) return longest;
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < right.size(); ++j) {
      const std::size_t changed = diagonal + (Lower(left[i]) == Lower(right[j]) ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

bool IsNumber(const std::string& text) { return text.find_first_not_of("0123456789") == std::string::npos; }

} // namespace

std::vector<PathComponent> SplitPath(const std::string& path, PathKind kind) {
  if (path.empty()) return {};
  std::vector<PathComponent> components(1);
  std::string PathComponent::*part = &PathComponent::name;
  ForEachCharacter(path, [&](wchar_t, std::string_view bytes, bool) {
    const char ascii = bytes.size() == 1 ? bytes.front() : '\0';
    const bool inName = part == &PathComponent::name;
    if ((ascii == '/' && inName) || (ascii == '\\' && (inName || kind == PathKind::Path))) {
      RequireWhole(components.back(), part == &PathComponent::value, path);
      components.emplace_back();
      part = &PathComponent::name;
      return;
    }
    PathComponent& component = components.back();
    component.text += bytes;
    if (ascii == '&' && inName) {
      component.isFiltered = true;
      part = &PathComponent::attribute;
    } else if (ascii == '=' && part == &PathComponent::attribute) {
      part = &PathComponent::value;
    } else {
      component.*part += bytes;
    }
  });
  RequireWhole(components.back(), part == &PathComponent::value, path);
  return components;
}

std::vector<std::pair<std::string, std::uint32_t>> NumberedForms(const std::string& name) {
  std::vector<std::pair<std::string, std::uint32_t>> forms;
  const std::size_t firstDigit = name.find_last_not_of("0123456789") + 1;
  for (std::size_t start = name.size(); start-- > std::max<std::size_t>(firstDigit, 1);) {
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(name.data() + start, name.data() + name.size(), number);
    if (parsed.ec == std::errc() && number > 1 && name[start] != '0') forms.emplace_back(name.substr(0, start), number);
  }
  return forms;
}

std::string PathOf(const Place& place) {
  std::string path;
  for (const Step& step : place) {
    if (!path.empty()) path += '\\';
    path += step.name;
    if (step.number > 1) path += std::to_string(step.number);
  }
  return path;
}

std::string PathBelow(const Place& place, const std::string& component) {
  return place.empty() ? component : PathOf(place) + '\\' + component;
}

std::vector<Step> ElementFinder::Named(Element& parent, const std::string& name, const PathComponent& filter) const {
  std::vector<Step> steps;
  std::uint32_t number = 0;
  std::uint32_t position = 0;
  for (auto child = parent.Begin(); child != parent.End(); ++child) {
    const auto& childName = names.Of(*child).text;
    if (!childName) continue;
    ++position;
    if (*childName != name) continue;
    ++number;
    const bool passes =
        !filter.isFiltered || (HasAttribute(*child, filter.attribute) &&
                               AttributeOf(*child, filter.attribute).value_or("").starts_with(filter.value));
    if (passes) steps.push_back({&*child, name, number, position});
  }
  return steps;
}

std::vector<Step> ElementFinder::Children(Element& parent, const PathComponent& component) const {
  std::vector<Step> steps = Named(parent, component.name, component);
  if (!steps.empty()) return steps;
  for (const auto& [name, number] : NumberedForms(component.name)) {
    steps = Named(parent, name, component);
    if (steps.size() >= number) return {steps[number - 1]};
  }
  return {};
}

ElementFinder::Way ElementFinder::FollowFrom(const std::vector<PathComponent>& path, std::size_t first,
                                             std::uint32_t occurrence) const {
  Way way{{}, first};
  for (; way.followed < path.size(); ++way.followed) {
    const bool isLast = way.followed + 1 == path.size();
    const std::uint32_t wanted = isLast ? occurrence : 1;
    const std::vector<Step> steps = Children(At(way.place), path[way.followed]);
    if (steps.size() < wanted) break;
    way.place.push_back(steps[wanted - 1]);
  }
  return way;
}

// A child of the root's own name comes first, so that every path that is listed leads back.
ElementFinder::Way ElementFinder::Follow(const std::vector<PathComponent>& path, std::uint32_t occurrence) const {
  Way way = FollowFrom(path, 0, occurrence);
  if (way.followed == path.size()) return way;
  if (path.front().isFiltered || path.front().name != RootName()) return way;
  if (path.size() == 1 && occurrence > 1) return way;
  Way belowRoot = FollowFrom(path, 1, occurrence);
  return belowRoot.followed > way.followed ? belowRoot : way;
}

const Element* ElementFinder::FirstThatBegins(const Element& parent, const std::string& name) const {
  for (auto child = parent.Begin(); child != parent.End(); ++child) {
    const auto& childName = names.Of(*child).text;
    if (childName && childName->starts_with(name)) return &*child;
  }
  return nullptr;
}

std::string ElementFinder::WhyMissing(const Place& parent, const PathComponent& component) const {
  const std::string where = parent.empty() ? RootName() : PathOf(parent);
  return "no element " + component.text + " in " + where + Hint(At(parent), component);
}

std::string ElementFinder::Hint(const Element& parent, const PathComponent& component) const {
  const std::string& name = component.name;
  const std::string* nearest = nullptr;
  const std::string* beginning = nullptr; // a name with which the missing one begins
  std::size_t least = std::max<std::size_t>(name.size() / 3, 1) + 1;
  const ElementName* last = nullptr;
  for (auto child = parent.Begin(); child != parent.End() && least > 0; ++child) {
    const ElementName& childName = names.Of(*child);
    if (std::exchange(last, &childName) == &childName || !childName.text) continue;
    if (name.starts_with(*childName.text)) beginning = &*childName.text;
    const bool isLonger = *childName.text != name && childName.text->starts_with(name);
    const std::size_t distance = isLonger ? 1 : Distance(name, *childName.text);
    if (distance >= least) continue;
    least = distance;
    nearest = &*childName.text;
  }
  if (least == 0 && component.isFiltered) return "";
  if (beginning != nullptr && IsNumber(name.substr(beginning->size()))) return "; there are fewer of " + *beginning;
  if (nearest != nullptr) return "; there is " + *nearest;
  return beginning == nullptr ? "" : "; separate names with \\ or /, and quote them for the shell";
}
