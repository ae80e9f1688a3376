#include "place.h"

#include <cassert>

namespace {

// The number of an element among the siblings that have its name, from 1.
std::uint32_t NumberOf(const Element& child, const Element& parent, std::uint32_t total) {
  std::uint32_t low = 1;
  for (std::uint32_t high = total; low < high;) {
    const std::uint32_t middle = low + (high - low) / 2;
    const Element other = parent.NthChild(Ostrum::NameMatch::Exact, child.GetName(), middle);
    if (other < child) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  assert(parent.NthChild(Ostrum::NameMatch::Exact, child.GetName(), low) == child);
  return low;
}

} // namespace

std::string ValueAt(const Place& place, std::string_view attribute) {
  const Element& element = place.back();
  return attribute.empty() ? element.GetValue() : element.GetAttribute(attribute).GetValue();
}

std::string NumberedName(std::string_view name, std::uint32_t number, std::uint32_t total) {
  std::string text(name);
  if (total > 1) text.append("[").append(std::to_string(number)).append("]");
  return text;
}

std::string PathOf(const Place& place, std::string_view attribute) {
  std::string path;
  for (std::size_t i = 1; i < place.size(); ++i) {
    const std::uint32_t total = place[i - 1].CountChildren(place[i].GetName());
    const std::uint32_t number = total > 1 ? NumberOf(place[i], place[i - 1], total) : 1;
    if (i > 1) path += '/';
    path += NumberedName(place[i].GetName(), number, total);
  }
  if (attribute.empty()) return path.empty() ? "." : path;
  return path.append(path.empty() ? "@" : "/@").append(attribute);
}
