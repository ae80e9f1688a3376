#include "paths.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cctype>
#include <optional>

namespace {

constexpr std::hash<std::string_view> hashOf;

// A child's name, with its number if there are several of that name, for example Folder[2].
std::string NumberedName(const Element& parent, const Element& child) {
  std::string text(child.GetName());
  const std::uint32_t count = parent.CountChildren(text);
  assert(count > 0); // the child itself at least
  if (count == 1) return text;
  std::uint32_t before = 0; // how many of them are before the child, bit by bit
  for (std::uint32_t bit = std::bit_floor(count); bit > 0; bit /= 2) {
    const Element nth = parent.NthChild(Ostrum::NameMatch::Exact, text, before + bit);
    if (!nth.IsNull() && nth < child) before += bit;
  }
  return text + '[' + std::to_string(before + 1) + ']';
}

// What the step's filter compares its value with, which is empty if the step has none. Nothing if
// the element has another name or lacks the filter's attribute.
std::optional<std::string> KeyOf(const Element& element, const Step& step) {
  if (!step.HasAnyName() && element.GetName() != step.name) return std::nullopt;
  if (step.key.empty()) return "";
  const Ostrum::Value key = element.GetAttribute(step.key);
  if (key.IsNull()) return std::nullopt;
  return key.GetValue();
}

// "; there is " and the text that has the most letters at its beginning in common with the wanted
// one, ignoring case. Empty if none has half of them. areNames: of elements.
template <class Text>
std::string Nearest(std::string_view wanted, const std::vector<Text>& texts,
                    bool areNames = false) {
  const auto areEqual = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  std::string_view nearest;
  auto most = static_cast<std::ptrdiff_t>(wanted.size() - 1) / 2;
  for (const std::string_view text : texts) {
    const auto common = std::ranges::mismatch(wanted, text, areEqual).in1 - wanted.begin();
    if (common > most) nearest = text;
    most = std::max(most, common);
  }
  if (nearest.empty()) return {};
  const bool isJoined = wanted.size() > nearest.size() + 1 && wanted.starts_with(nearest);
  return "; there is " + std::string(nearest) +
         (areNames && isJoined ? ", and / separates names" : "");
}

// What may have been meant by a step for which a place has no element.
std::string Hint(const Place& place, const Step& step) {
  const Element& parent = place.back();
  std::vector<std::string_view> names;
  std::vector<std::string> keys;
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    names.push_back(child.GetName());
    if (auto key = KeyOf(child, step)) keys.push_back(*std::move(key));
  }
  if (!keys.empty()) return Nearest(step.value, keys);
  if (place.size() == 1 && parent.GetName() == step.name)
    return "; the root itself is /" + step.name;
  const std::string number = MisreadNumber(parent, step.name);
  if (!number.empty()) return "; a number is written in brackets: " + number;
  if (!parent.GetAttribute(step.name).IsNull()) return "; an attribute is written @" + step.name;
  return Nearest(step.name, names, true);
}

} // namespace

std::string ValueAt(const Place& place, std::string_view attribute) {
  const Element& element = place.back();
  return attribute.empty() ? element.Text().GetValue() : element.GetAttribute(attribute).GetValue();
}

std::string PathOf(const Place& place, std::string_view attribute) {
  std::string path;
  for (std::size_t i = 1; i < place.size(); ++i)
    path.append(i > 1 ? "/" : "").append(NumberedName(place[i - 1], place[i]));
  if (attribute.empty()) return path;
  return path.append(path.empty() ? "@" : "/@").append(attribute);
}

std::string NameOf(const Place& place) {
  return place.size() == 1 ? std::string(place.back().GetName()) : PathOf(place);
}

// Goes through the document in order, depth first, so that the first places cost no more than what
// leads to them. A place is noted where it leads no further.
Found Matcher::Find(const Path& path, bool isAttributeOptional, std::size_t limit) {
  const bool needsAttribute = !isAttributeOptional && !path.attribute.empty();
  Found found;
  Place place;
  std::vector<std::uint32_t> tried{0}; // for each step, how many of its elements
  while (!found.IsWhole(path) || found.places.size() < limit) {
    const bool isEnd = place.size() == path.steps.size();
    const Element last = place.empty() ? Element() : place.back();
    Element next;
    if (!isEnd) next = Next(last, path.steps[place.size()], ++tried.back(), found.counted);
    if (!next.IsNull()) {
      place.push_back(next);
      tried.push_back(0);
      continue;
    }
    if (place.empty()) break;
    const bool isWhole = isEnd && !(needsAttribute && last.GetAttribute(path.attribute).IsNull());
    const std::size_t steps = place.size() + (isWhole ? 1 : 0);
    if (steps > found.steps) found.places.clear();
    found.steps = std::max(found.steps, steps);
    if (steps == found.steps) found.places.push_back(place);
    place.pop_back();
    tried.pop_back();
  }
  return found;
}

// The n-th element that the step stands for in the parent.
Element Matcher::Next(const Element& parent, const Step& step, std::uint32_t n,
                      std::vector<std::size_t>& counted) {
  if (step.position == Position::All) return Nth(parent, step, n);
  if (n > 1) return {};
  const std::uint32_t count = Count(parent, step);
  if (step.position == Position::Number) counted.push_back(count);
  return Nth(parent, step, step.NumberAmong(count));
}

// The n-th child with the step's name and filter, whatever its position says; null if n is 0.
Element Matcher::Nth(const Element& parent, const Step& step, std::uint32_t n) {
  if (parent.IsNull()) return n == 1 && KeyOf(root, step) == step.value ? root : Element();
  if (step.key.empty()) return parent.NthChild(step.Match(), step.name, n);
  const auto& matching = WithKey(parent, step);
  return n >= 1 && n <= matching.size() ? matching[n - 1] : Element();
}

std::uint32_t Matcher::Count(const Element& parent, const Step& step) {
  if (parent.IsNull()) return 1;
  if (!step.key.empty()) return static_cast<std::uint32_t>(WithKey(parent, step).size());
  return parent.CountChildren(step.name, step.Match());
}

std::string MisreadNumber(const Element& parent, std::string_view name) {
  const std::string base(name.substr(0, name.find_last_not_of("0123456789") + 1));
  const std::string number(name.substr(base.size()));
  if (number.empty() || parent.CountChildren(base) == 0) return {};
  return base + '[' + number + ']';
}

std::string Matcher::WhyMissing(const Path& path, const Found& found) {
  assert(!found.IsWhole(path));
  if (found.steps == 0)
    return "no root " + path.steps.front().text + "; the root is /" + std::string(root.GetName());
  const Place& place = found.places.front();
  const Element& parent = place.back();
  const std::string shown = NameOf(place);
  if (found.steps == path.steps.size())
    return "no attribute " + path.attribute + " in " + shown +
           Nearest(path.attribute, parent.AttributeNames());
  const Step& step = path.steps[found.steps];
  const std::uint32_t count = Count(parent, step);
  if (count > 0) return shown + " has only " + std::to_string(count) + ' ' + step.WithoutPosition();
  return "no element " + step.text + " in " + shown + Hint(place, step);
}

std::vector<Element>& Matcher::Index::With(const std::string& value) {
  const auto [entry, isNew] = lists.try_emplace(value);
  auto& list = entry->second;
  if (!isNew) return list;
  const std::size_t hash = hashOf(value);
  auto child = std::ranges::lower_bound(byHash, std::pair(hash, Element()));
  for (; child != byHash.end() && child->first == hash; ++child) {
    if (child->second.GetAttribute(key).GetValue() == value) list.push_back(child->second);
  }
  return list;
}

void Matcher::Index::Add(const std::string& value, const Element& child) {
  auto& list = With(value);
  const auto place = std::ranges::lower_bound(list, child);
  if (place == list.end() || *place != child) list.insert(place, child);
}

// The children with the step's name and filter, in document order.
const std::vector<Element>& Matcher::WithKey(const Element& parent, const Step& step) {
  Index& index = indexes[{step.key, parent, step.name}];
  const bool isNew = index.last.IsNull();
  if (isNew) index = {.key = step.key};
  Element child = isNew ? parent.FirstChild() : index.last.NextSibling();
  for (; !child.IsNull(); child = child.NextSibling()) {
    index.last = child;
    const auto value = KeyOf(child, step);
    if (value && isNew) index.byHash.emplace_back(hashOf(*value), child);
    if (value && !isNew) index.Add(*value, child);
  }
  if (isNew) std::ranges::sort(index.byHash);
  return index.With(step.value);
}

void Matcher::SetAttribute(const Place& place, const std::string& name, const std::string& value) {
  Element element = place.back();
  const std::string old = element.GetAttribute(name).GetValue();
  element.SetAttribute(name, value);
  if (place.size() == 1) return; // the root is in no index
  for (const std::string_view childName : {element.GetName(), std::string_view()}) {
    const auto index = indexes.find({name, place[place.size() - 2], std::string(childName)});
    if (index == indexes.end()) continue;
    auto& list = index->second.With(old);
    const auto [from, to] = std::equal_range(list.begin(), list.end(), element);
    list.erase(from, to);
    index->second.Add(value, element);
  }
}
