#include "paths.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <optional>
#include <stdexcept>

namespace {

// A child's name, with its number if there are several of that name, for example Folder[2].
std::string NumberedName(const Element& parent, const Element& child) {
  std::string text(child.GetName());
  const std::uint32_t count = parent.CountChildren(text);
  if (count == 1) return text;
  std::uint32_t low = 1;
  for (std::uint32_t high = count; low < high;) {
    const std::uint32_t middle = low + (high - low) / 2;
    if (parent.NthChild(Ostrum::NameMatch::Exact, text, middle) < child) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return text + '[' + std::to_string(low) + ']';
}

// The child's name that has the most letters at its beginning in common with the name, ignoring
// case; empty if none has half of them.
std::string_view NearestName(const Element& parent, std::string_view name) {
  const auto areEqual = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  std::string_view nearest;
  auto most = static_cast<std::ptrdiff_t>(name.size() - 1) / 2;
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    const std::string_view other = child.GetName();
    const auto common = std::ranges::mismatch(name, other, areEqual).in1 - name.begin();
    if (common > most) nearest = other;
    most = std::max(most, common);
  }
  return nearest;
}

// What may have been meant by a step for which the parent has no element. shown: the parent.
std::string Hint(const Element& parent, const Step& step, const std::string& shown) {
  if (step.HasAnyName() || parent.CountChildren(step.name) > 0) return {};
  if (shown == step.name) return "; the root itself is /" + step.name;
  const std::string number = MisreadNumber(parent, step.name);
  if (!number.empty()) return "; a number is written in brackets: " + number;
  const std::string_view nearest = NearestName(parent, step.name);
  if (nearest.empty()) return {};
  const bool isJoined = step.name.size() > nearest.size() + 1 && step.name.starts_with(nearest);
  return "; there is " + std::string(nearest) + (isJoined ? ", and / separates names" : "");
}

// What the step's filter compares its value with, which is empty if the step has none. Nothing if
// the element has another name or lacks the filter's attribute.
std::optional<std::string> KeyOf(const Element& element, const Step& step) {
  if (!step.HasAnyName() && element.GetName() != step.name) return std::nullopt;
  if (step.key.empty()) return "";
  const Ostrum::Attribute key = element.GetAttribute(step.key);
  if (key.IsNull()) return std::nullopt;
  return key.GetValue();
}

} // namespace

std::string ValueAt(const Place& place, std::string_view attribute) {
  const Element& element = place.back();
  return attribute.empty() ? element.GetValue() : element.GetAttribute(attribute).GetValue();
}

std::string PathOf(const Place& place, std::string_view attribute) {
  std::string path;
  for (std::size_t i = 1; i < place.size(); ++i)
    path.append(i > 1 ? "/" : "").append(NumberedName(place[i - 1], place[i]));
  if (attribute.empty()) return path.empty() ? "." : path;
  return path.append(path.empty() ? "@" : "/@").append(attribute);
}

Found Matcher::Find(const Path& path, bool isAttributeOptional) {
  Found found;
  const Step& first = path.steps.front();
  const bool isFirst = first.position != Position::Next && first.number == 1;
  std::vector<Place> places;
  if (isFirst && KeyOf(root, first) == first.value) places.push_back({root});
  while (!places.empty()) {
    found.places = std::move(places);
    places.clear();
    if (++found.steps == path.steps.size()) break;
    for (const Place& place : found.places) {
      for (const Element& child : Children(place.back(), path.steps[found.steps], found.counted)) {
        places.push_back(place);
        places.back().push_back(child);
      }
    }
  }
  const auto lacksAttribute = [&](const Place& place) {
    return place.back().GetAttribute(path.attribute).IsNull();
  };
  const bool mustHaveIt = !path.attribute.empty() && !isAttributeOptional;
  found.isAll = found.steps == path.steps.size() &&
                !(mustHaveIt && std::ranges::all_of(found.places, lacksAttribute));
  if (found.isAll && mustHaveIt) std::erase_if(found.places, lacksAttribute);
  return found;
}

std::string MisreadNumber(const Element& parent, std::string_view name) {
  const std::string base(name.substr(0, name.find_last_not_of("0123456789") + 1));
  const std::string number(name.substr(base.size()));
  if (number.empty() || parent.CountChildren(base) == 0) return {};
  return base + '[' + number + ']';
}

std::string Matcher::WhyMissing(const Path& path, const Found& found) {
  assert(!found.isAll);
  const std::string rootName(root.GetName());
  if (found.steps == 0) return "no root " + path.steps.front().text + "; the root is /" + rootName;
  const Place& place = found.places.front();
  const Element& parent = place.back();
  const std::string shown = found.steps == 1 ? rootName : PathOf(place);
  if (found.steps == path.steps.size()) return "no attribute " + path.attribute + " in " + shown;
  const Step& step = path.steps[found.steps];
  const std::size_t count = Candidates(parent, step).size();
  if (count > 0) return shown + " has only " + std::to_string(count) + ' ' + step.WithoutPosition();
  return "no element " + step.text + " in " + shown + Hint(parent, step, shown);
}

std::vector<Element> Matcher::Children(const Element& parent, const Step& step,
                                       std::vector<std::size_t>& counted) {
  const auto& all = Candidates(parent, step);
  if (step.position == Position::All) return {all.begin(), all.end()};
  const bool isNumber = step.position == Position::Number;
  if (isNumber) counted.push_back(all.size());
  const std::size_t n = isNumber ? step.number : all.size();
  if (step.position == Position::Next || n == 0 || n > all.size()) return {};
  return {all[n - 1]};
}

const std::pmr::vector<Element>& Matcher::Candidates(const Element& parent, const Step& step) {
  const auto index = indexes.try_emplace({step.key, parent, step.name}, &memory).first;
  auto& [byValue, last] = index->second;
  Element child = last.IsNull() ? parent.FirstChild() : last.NextSibling();
  for (; !child.IsNull(); child = child.NextSibling()) {
    last = child;
    if (const auto key = KeyOf(child, step)) byValue[std::pmr::string(*key)].push_back(child);
  }
  return byValue[std::pmr::string(step.value)];
}

Element Matcher::Add(Element parent, const Step& step) {
  Element child = parent.AddElementInto(step.name);
  if (child.IsNull()) throw std::invalid_argument("the element comes from an entity");
  if (!step.key.empty()) child.SetAttribute(step.key, step.value);
  return child;
}

void Matcher::SetAttribute(Element element, std::string_view name, std::string_view value) {
  element.SetAttribute(name, value);
  auto index = indexes.lower_bound({std::string(name), {}, {}});
  while (index != indexes.end() && std::get<0>(index->first) == name) index = indexes.erase(index);
}
