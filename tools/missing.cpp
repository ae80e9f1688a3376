#include "missing.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace {

// The child's name that has the most letters at its beginning in common with the name, ignoring
// case; empty if none has half of them.
std::string_view NearestName(const Element& parent, std::string_view name) {
  const auto areEqual = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  std::string_view nearest;
  auto most = static_cast<std::ptrdiff_t>(name.size() - 1) / 2;
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    const std::string_view other = child->GetName();
    const auto common = std::ranges::mismatch(name, other, areEqual).in1 - name.begin();
    if (common > most) nearest = other;
    most = std::max(most, common);
  }
  return nearest;
}

std::string WhyNoChild(const Element& parent, const Step& step, const std::string& in,
                       Matcher& matcher) {
  const std::uint32_t count = matcher.Count(parent, step);
  if (count > 0) return in + " has only " + std::to_string(count) + ' ' + step.WithoutPosition();
  std::string why = "no element " + step.text + " in " + in;
  if (step.HasAnyName() || parent.CountChildren(step.name) > 0) return why;
  if (in == step.name) return why + "; the root itself is /" + step.name;
  const std::string number = MisreadNumber(parent, step.name);
  if (!number.empty()) return why + "; a number is written in brackets: " + number;
  const std::string_view nearest = NearestName(parent, step.name);
  if (nearest.empty()) return why;
  const bool isJoined = step.name.size() > nearest.size() + 1 && step.name.starts_with(nearest);
  return why + "; there is " + std::string(nearest) + (isJoined ? ", and / separates names" : "");
}

} // namespace

std::string MisreadNumber(const Element& parent, std::string_view name) {
  const std::string base(name.substr(0, name.find_last_not_of("0123456789") + 1));
  const std::string number(name.substr(base.size()));
  if (number.empty() || base.empty() || parent.CountChildren(base) == 0) return {};
  return base + '[' + number + ']';
}

std::string WhyMissing(const Path& path, std::size_t followed, Matcher& matcher) {
  if (followed == 0) {
    const std::string root(matcher.Root().GetName());
    return "no root " + path.steps.front().text + "; the root is /" + root;
  }
  const auto known = std::span(path.steps).first(followed);
  const Place place = matcher.Find(known, 1).places.front();
  const Element& parent = place.back();
  const std::string in = followed == 1 ? std::string(parent.GetName()) : PathOf(place);
  if (followed == path.steps.size()) return "no attribute " + path.attribute + " in " + in;
  return WhyNoChild(parent, path.steps[followed], in, matcher);
}
