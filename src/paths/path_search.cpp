#include "paths/path_search.h"

#include <cstring>
#include <new>

#include "paths/item_path.h"
#include "paths/path_component.h"
#include "paths/scratch_text.h"
#include "text/log.h"
#include "text/narrow_name.h"

namespace {

using Ostrum::Element;
using Ostrum::IteratorRef;

// What to look for among the children of one element.
struct Level {
  PathComponent& component;
  bool isLast;
  std::uint32_t occurrence;
};

// A name that can't be converted is logged for each child that carries it. The first one has been.
void LogFailedConversionAgain(const std::wstring& name, std::uint32_t times) {
  if (!corekit::LogIsOn()) return;
  for (std::uint32_t i = 0; i < times; ++i) MultiByteText(ConvertToMultiByte(name));
}

Element* FirstThatPassesFilter(IteratorRef child, std::uint32_t count, PathComponent& component) {
  for (std::uint32_t i = 0; i < count; ++i, ++child) {
    if (!component.PassesFilter(*child)) continue;
    LogDetail(L"Found ", component.FilterValue(), L" (attribute) in the element map.");
    return &*child;
  }
  return nullptr;
}

// Chooses among `count` neighbours that share a name that matches; matchesBefore is how many stood in front of them.
Element* SelectInRun(IteratorRef child, std::uint32_t count, std::uint32_t matchesBefore, const Level& level) {
  const char* const name = level.component.NamePart();
  if (level.component.HasFilter()) return FirstThatPassesFilter(child, count, level.component);
  if (!level.isLast) {
    LogDetail(L"Found ", name, L" (element) in the element map.");
    return &*child;
  }

  const std::uint32_t n = level.occurrence;
  if (n <= matchesBefore || n - matchesBefore > count) return nullptr;
  if (n > 1) {
    LogDetail(name, n, L" (element) not found in the element map.");
  } else {
    LogDetail(name, L" (element) not found in the element map.");
  }
  return &*child.Skip(n - matchesBefore - 1);
}

// Equal neighbours are looked at as one: their name is converted once, and the n-th of them is reached in one step.
Element* SelectChild(const Element& parent, const Level& level) {
  std::uint32_t matches = 0;
  const IteratorRef end = parent.End();
  for (IteratorRef child = parent.Begin(); !(child == end);) {
    const std::uint32_t count = child.RunLength();
    const NarrowName name(*child);
    if (!name.Text()) LogFailedConversionAgain(child->GetName(), count - 1);
    if (level.component.MatchesName(name)) {
      if (Element* const selected = SelectInRun(child, count, matches, level)) return selected;
      matches += count;
    }
    child.Skip(count);
  }
  return nullptr;
}

bool HasNoChildren(const Element& element) noexcept { return element.Begin() == element.End(); }

bool NameBeginsWith(const Element& element, const char* path) {
  const NarrowName name(element);
  return name.Text() && name.Text()->starts_with(path);
}

// Goes down level by level; path moves along, and is what the level that fails was to resolve.
Element* Resolve(Element* start, const char*& path, std::uint32_t occurrence) {
  std::size_t size = std::strlen(path) + 1;
  ScratchText token(size);
  while (!HasNoChildren(*start)) {
    const char* const rest = ReturnTokenFromString(path, token.Data(), static_cast<std::uint32_t>(size), "\\");
    PathComponent component(token.Data());
    Element* const selected = SelectChild(*start, {component, rest == nullptr, occurrence});
    if (selected == nullptr) {
      LogDetail(path, L" not found in the element map.");
      return nullptr;
    }
    if (rest == nullptr) return selected;

    size -= static_cast<std::size_t>(rest - path);
    path = rest;
    start = selected;
  }
  return NameBeginsWith(*start, path) ? start : nullptr;
}

} // namespace

Element* FindElementByPath(Element* start, const char* path, std::uint32_t occurrence, SearchEnd* end) noexcept {
  SearchEnd outcome = SearchEnd::Missing;
  Element* found = nullptr;
  try {
    found = Resolve(start, path, occurrence);
    if (found != nullptr) outcome = SearchEnd::Found;
  } catch (const std::bad_alloc&) {
    outcome = SearchEnd::OutOfMemory;
  } catch (...) {
    outcome = SearchEnd::Failed;
  }

  const bool failed = outcome == SearchEnd::OutOfMemory || outcome == SearchEnd::Failed;
  if (failed) LogError(L"Unknown exception occurred while searching for ", path);
  if (end != nullptr) *end = outcome;
  return found != nullptr ? found : &Element::null;
}
