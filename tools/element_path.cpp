#include "element_path.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "commands.h"
#include "text.h"

namespace {

PathComponent ParseComponent(const std::string& text, const std::string& path) {
  PathComponent component{text, text.substr(0, text.find('&')), "", ""};
  const std::size_t nameEnd = component.name.size();
  if (nameEnd == 0) throw CommandError(path + ": a name is empty; separate names with \\ or /");
  if (nameEnd == text.size()) return component;
  const std::size_t equals = std::min(text.find('=', nameEnd), text.size());
  component.attribute = text.substr(nameEnd + 1, equals - nameEnd - 1);
  if (equals == text.size() || component.attribute.empty()) {
    throw CommandError(text + ": a filter is written Name&attribute=value");
  }
  component.value = text.substr(equals + 1);
  return component;
}

// A number off the end of a name: "Item12" is the second "Item1" or the twelfth "Item", in this order.
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

bool Passes(const Element& element, const PathComponent& filter) {
  if (filter.attribute.empty()) return true;
  const Ostrum::Attribute attribute = element.GetAttribute(filter.attribute);
  return !attribute.IsNull() && attribute.GetValue().starts_with(filter.value);
}

std::vector<Step> Named(const Element& parent, const std::string& name, const PathComponent& filter) {
  std::vector<Step> steps;
  std::uint32_t number = 0;
  std::uint32_t position = 0;
  for (auto child = parent.Begin(); child != parent.End(); ++child) {
    if (HasForm(child->GetName())) ++position;
    if (child->GetName() != name) continue;
    ++number;
    if (Passes(*child, filter)) steps.push_back({&*child, name, number, position});
  }
  return steps;
}

// With how many letters, letter case apart, both names begin.
std::size_t CommonStart(std::string_view left, std::string_view right) {
  const auto areEqual = [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); };
  const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end(), areEqual).first;
  return static_cast<std::size_t>(end - left.begin());
}

} // namespace

std::vector<PathComponent> SplitPath(const std::string& path) {
  std::vector<std::string> texts(path.empty() ? 0 : 1);
  for (const char byte : path) {
    const bool inFilter = texts.back().find('&') != std::string::npos;
    if (byte == '\\' || (byte == '/' && !inFilter)) {
      texts.emplace_back();
    } else {
      texts.back() += byte;
    }
  }
  std::vector<PathComponent> components;
  for (const std::string& text : texts) components.push_back(ParseComponent(text, path));
  return components;
}

std::string PathOf(const Place& place) {
  std::string path;
  for (const Step& step : place) path += (path.empty() ? "" : "\\") + step.Text();
  return path;
}

std::string PathBelow(const Place& place, const std::string& component) {
  return place.empty() ? component : PathOf(place) + '\\' + component;
}

std::vector<Step> ElementFinder::Children(const Element& parent, const PathComponent& component) const {
  std::vector<Step> steps = Named(parent, component.name, component);
  if (!steps.empty()) return steps;
  for (const auto& [name, number] : NumberedForms(component.name)) {
    steps = Named(parent, name, component);
    const auto hasNumber = [wanted = number](const Step& step) { return step.number == wanted; };
    const auto found = std::find_if(steps.begin(), steps.end(), hasNumber);
    if (found != steps.end()) return {*found};
  }
  return {};
}

ElementFinder::Way ElementFinder::FollowFrom(const std::vector<PathComponent>& path, std::size_t first) const {
  Way way{{}, first};
  for (; way.followed < path.size(); ++way.followed) {
    const std::uint32_t occurrence = path[way.followed].occurrence;
    const std::vector<Step> steps = Children(At(way.place), path[way.followed]);
    if (steps.size() < occurrence) break;
    way.place.push_back(steps[occurrence - 1]);
  }
  return way;
}

// A child of the root's own name comes first, so that every path that is listed leads back.
ElementFinder::Way ElementFinder::Follow(const std::vector<PathComponent>& path) const {
  Way way = FollowFrom(path, 0);
  if (way.followed == path.size()) return way;
  const PathComponent& front = path.front();
  if (front.name != root.GetName() || front.occurrence != 1 || !Passes(root, front)) return way;
  Way belowRoot = FollowFrom(path, 1);
  return belowRoot.followed > way.followed ? belowRoot : way;
}

std::string ElementFinder::WhyMissing(const Place& parent, const PathComponent& component) const {
  const Element& element = At(parent);
  const std::string& name = component.name;
  const std::string where = parent.empty() ? std::string(root.GetName()) : PathOf(parent);
  const std::string why = "no element " + component.text + " in " + where;
  const bool isThere = !element.NthChild(Ostrum::NameMatch::Exact, name, 1).IsNull();
  if (isThere) return component.occurrence > 1 ? why + "; there are fewer of them" : why;
  std::string_view nearest;
  std::size_t most = (name.size() - 1) / 2; // a name that shares no more is another
  for (auto child = element.Begin(); child != element.End(); ++child) {
    const std::size_t common = CommonStart(name, child->GetName());
    if (common > most) nearest = child->GetName();
    most = std::max(most, common);
  }
  if (nearest.empty()) return why;
  const bool isJoined = name.size() > nearest.size() + 1 && name.starts_with(nearest);
  return why + "; there is " + std::string(nearest) +
         (isJoined ? ", and names are separated with \\ or /, quoted for the shell" : "");
}
