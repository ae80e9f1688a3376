#include "matches.h"

#include <algorithm>
#include <stdexcept>

#include "commands.h"

namespace {

using Ostrum::NameMatch;

bool HasName(const Element& element, const Step& step) {
  return step.HasAnyName() || element.GetName() == step.name;
}

bool PassesFilter(const Element& element, const Step& step) {
  if (step.key.empty()) return true;
  const Ostrum::Attribute attribute = element.GetAttribute(step.key);
  return !attribute.IsNull() && attribute.GetValue() == step.value;
}

std::size_t HashOf(const Ostrum::Attribute& attribute) {
  std::string scratch;
  return std::hash<std::string_view>()(attribute.GetValue(scratch));
}

void SetDirectly(Element element, std::string_view name, std::string_view value) {
  Ostrum::Attribute attribute = element.GetAttribute(name);
  if (attribute.IsNull()) attribute = element.CreateAttribute(name);
  if (attribute.IsNull()) throw std::invalid_argument("the element comes from an entity");
  static_cast<Ostrum::Value>(attribute).Set(value);
}

} // namespace

void KeepWithAttribute(std::string_view attribute, std::vector<Place>& places) {
  std::erase_if(places, [attribute](const Place& place) {
    return place.back().GetAttribute(attribute).IsNull();
  });
}

// Goes through the document in order, depth first.
Matches Matcher::Find(std::span<const Step> steps, std::size_t limit) {
  Matches matches;
  Place place;
  std::vector<std::uint32_t> tried{0}; // for each step, how many of its elements
  while (!tried.empty() && matches.places.size() < limit) {
    Element next;
    if (place.size() < steps.size())
      next = Next(place, steps[place.size()], ++tried.back(), matches);
    if (place.size() == steps.size()) matches.places.push_back(place);
    if (!next.IsNull()) {
      place.push_back(next);
      tried.push_back(0);
      matches.followed = std::max(matches.followed, place.size());
      continue;
    }
    tried.pop_back();
    if (!place.empty()) place.pop_back();
  }
  return matches;
}

// The n-th element that the step stands for after the place.
Element Matcher::Next(const Place& place, const Step& step, std::uint32_t n, Matches& matches) {
  if (place.empty()) return n == 1 ? RootFor(step) : Element();
  const Element parent = place.back();
  if (step.position == Position::All) return Nth(parent, step, n);
  if (step.position == Position::Next || n > 1) return {};
  if (step.position == Position::Last) return Nth(parent, step, Count(parent, step));
  matches.siblings.push_back(Count(parent, step));
  return Nth(parent, step, step.number);
}

Element Matcher::RootFor(const Step& step) const {
  const bool isFirst = step.position != Position::Next && step.number == 1;
  return isFirst && HasName(root, step) && PassesFilter(root, step) ? root : Element();
}

// The n-th child with the step's name and filter, whatever its position says.
Element Matcher::Nth(Element parent, const Step& step, std::uint32_t n) {
  if (!step.key.empty()) {
    const std::vector<Element>& matching = WithKey(parent, step);
    return n >= 1 && n <= matching.size() ? matching[n - 1] : Element();
  }
  if (step.HasAnyName()) return parent.NthChild(NameMatch::Prefix, "", n);
  return parent.NthChild(NameMatch::Exact, step.name, n);
}

std::uint32_t Matcher::Count(Element parent, const Step& step) {
  if (!step.key.empty()) return static_cast<std::uint32_t>(WithKey(parent, step).size());
  if (!step.HasAnyName()) return parent.CountChildren(step.name);
  std::uint32_t count = 0;
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) ++count;
  return count;
}

Matcher::Index& Matcher::IndexFor(Element parent, const Step& step) {
  const auto [entry, isNew] = indexes.try_emplace({parent, step.name, step.key});
  Index& index = entry->second;
  if (!isNew) return index;
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    const Ostrum::Attribute attribute = child->GetAttribute(step.key);
    if (HasName(*child, step) && !attribute.IsNull()) index.emplace_back(HashOf(attribute), *child);
  }
  std::ranges::sort(index);
  return index;
}

const std::vector<Element>& Matcher::WithKey(Element parent, const Step& step) {
  Key key{parent, step.name, step.key};
  if (key == lastKey && step.value == lastValue) return lastMatching;
  const std::size_t hash = std::hash<std::string_view>()(step.value);
  lastMatching.clear();
  Index& index = IndexFor(parent, step);
  auto entry = std::ranges::lower_bound(index, hash, {}, &Index::value_type::first);
  for (; entry != index.end() && entry->first == hash; ++entry) {
    if (PassesFilter(entry->second, step)) lastMatching.push_back(entry->second);
  }
  lastKey = std::move(key);
  lastValue = step.value;
  return lastMatching;
}

Element Matcher::Add(Element parent, const Step& step) {
  const Element child = parent.AddElementInto(step.name);
  if (child.IsNull()) throw std::invalid_argument("the element comes from an entity");
  if (!step.key.empty()) SetDirectly(child, step.key, step.value);
  for (auto entry = indexes.lower_bound({parent, {}, {}});
       entry != indexes.end() && entry->first.parent == parent; ++entry) {
    const Ostrum::Attribute attribute = child.GetAttribute(entry->first.attribute);
    const bool isWanted = entry->first.name == "*" || entry->first.name == step.name;
    if (!isWanted || attribute.IsNull()) continue;
    const Index::value_type added(HashOf(attribute), child);
    entry->second.insert(std::ranges::upper_bound(entry->second, added), added);
  }
  lastKey = {};
  return child;
}

void Matcher::SetAttribute(Element element, std::string_view name, std::string_view value) {
  SetDirectly(element, name, value);
  lastKey = {};
  std::erase_if(indexes, [name](const auto& entry) { return entry.first.attribute == name; });
}
