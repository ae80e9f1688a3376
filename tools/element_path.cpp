#include "element_path.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "commands.h"
#include "text.h"

namespace {

PathComponent ParseComponent(const std::string& text, const std::string& path) {
  PathComponent component{text, text.substr(0, text.find('&')), "", ""};
  if (component.name.empty())
    throw CommandError(path + ": a name is empty; separate names with \\ or /");
  if (component.name == text) return component;
  const std::string filter = text.substr(component.name.size() + 1);
  const std::size_t equals = filter.find('=');
  if (equals == 0 || equals == std::string::npos) {
    throw CommandError(text + ": a filter is written Name&attribute=value");
  }
  component.attribute = filter.substr(0, equals);
  component.value = filter.substr(equals + 1);
  return component;
}

bool Passes(const Element& element, const PathComponent& component) {
  if (component.attribute.empty()) return true;
  const Ostrum::Attribute attribute = element.GetAttribute(component.attribute);
  return !attribute.IsNull() && attribute.GetValue().starts_with(component.value);
}

std::vector<Step> Named(const Element& parent, const std::string& name,
                        const PathComponent& component) {
  std::vector<Step> steps;
  if (parent.NthChild(Ostrum::NameMatch::Exact, name, 1).IsNull())
    return steps; // which the index tells without a walk
  std::uint32_t number = 0;
  std::uint32_t position = 0;
  for (auto child = parent.Begin(); child != parent.End(); ++child) {
    if (HasForm(child->GetName())) ++position;
    if (child->GetName() != name) continue;
    ++number;
    if (Passes(*child, component)) steps.push_back({*child, name, number, position});
  }
  return steps;
}

Way FollowFrom(const Element& root, const std::vector<PathComponent>& path, std::size_t first) {
  const Step start{root, std::string(root.GetName())};
  Way way{{start}, {start}, first};
  for (; way.followed < path.size(); ++way.followed) {
    const std::uint32_t occurrence = path[way.followed].occurrence;
    way.matches = Children(way.place.back().element, path[way.followed]);
    if (way.matches.size() < occurrence) break;
    way.place.push_back(way.matches[occurrence - 1]);
  }
  return way;
}

// For example "; there is Timeout". Empty if no child's name has a similar beginning, ignoring
// case.
std::string NearestName(const Element& parent, const std::string& name) {
  const auto areEqual = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  std::string_view nearest;
  auto most =
      static_cast<std::ptrdiff_t>(name.size() - 1) / 2; // at least half of the letters must match
  for (auto child = parent.Begin(); child != parent.End(); ++child) {
    const auto common = std::ranges::mismatch(name, child->GetName(), areEqual).in1 - name.begin();
    if (common > most) nearest = child->GetName();
    most = std::max(most, common);
  }
  if (nearest.empty()) return "";
  const bool isJoined = name.size() > nearest.size() + 1 && name.starts_with(nearest);
  return "; there is " + std::string(nearest) +
         (isJoined ? ", and names are separated with \\ or /, quoted for the shell" : "");
}

} // namespace

std::vector<PathComponent> SplitPath(std::string path, std::uint32_t occurrence) {
  const std::string own =
      FromLocale("\\").value_or("\\"); // some character sets have another character at this byte
  for (std::size_t at = path.find(own); own != "\\" && at != std::string::npos;
       at = path.find(own)) {
    path.replace(at, own.size(), "\\");
  }
  std::vector<PathComponent> components;
  for (std::size_t start = 0, end = 0; end < path.size(); start = end + 1) {
    const bool hasFilter = path.find('&', start) < path.find_first_of("\\/", start);
    end = std::min(path.find_first_of(hasFilter ? "\\" : "\\/", start), path.size());
    components.push_back(ParseComponent(path.substr(start, end - start), path));
  }
  if (!components.empty()) components.back().occurrence = occurrence;
  return components;
}

std::uint32_t NumberIn(std::string_view digits) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber =
      error == std::errc() && end == digits.data() + digits.size() && digits.front() != '0';
  return isNumber ? number : 0;
}

std::string PathOf(const Place& place) {
  std::string path;
  for (std::size_t i = 1; i < place.size(); ++i) path += (i == 1 ? "" : "\\") + place[i].Text();
  return place.size() == 1 ? place.front().name : path;
}

std::string PathBelow(const Place& place, const std::string& component) {
  return place.size() == 1 ? component : PathOf(place) + '\\' + component;
}

std::vector<Step> Children(const Element& parent, const PathComponent& component) {
  const std::string& name = component.name;
  std::vector<Step> steps = Named(parent, name, component);
  // "Item12" is the second "Item1" or else the twelfth "Item".
  for (std::size_t start = name.size() - 1;
       steps.empty() && start > 0 && std::isdigit(name[start]) != 0; --start) {
    const std::uint32_t number = NumberIn(std::string_view(name).substr(start));
    if (number < 2) continue;
    steps = Named(parent, name.substr(0, start), component);
    std::erase_if(steps, [number](const Step& step) { return step.number != number; });
  }
  return steps;
}

// A child with the root's name is tried before the root, so that every listed path can be used.
Way Follow(const Element& root, const std::vector<PathComponent>& path) {
  Way way = FollowFrom(root, path, 0);
  if (way.followed == path.size()) return way;
  const PathComponent& front = path.front();
  const bool isRoot = front.name == root.GetName() && front.occurrence == 1 && Passes(root, front);
  if (Way below = FollowFrom(root, path, 1); isRoot && below.followed > way.followed) return below;
  return way;
}

std::string WhyMissing(const Place& parent, const PathComponent& component) {
  const Element& element = parent.back().element;
  const auto& [text, name, attribute, value, occurrence] = component;
  const bool wantsAttribute = text == name && !attribute.empty(); // asked for with --attribute
  const std::size_t count = Children(element, component).size();
  if (count > 0) {
    return PathOf(parent) + " has only " + std::to_string(count) + ' ' + text +
           (wantsAttribute ? " with the attribute " + attribute : "");
  }
  const bool isRoot = parent.size() == 1 && name == parent.front().name;
  const bool isThere = isRoot || !Children(element, {name, name, "", ""}).empty();
  if (isThere && wantsAttribute)
    return "no attribute " + attribute + " in " + PathBelow(parent, name);
  return "no element " + text + " in " + PathOf(parent) +
         (isThere ? "" : NearestName(element, name));
}
