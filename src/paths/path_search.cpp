#include "paths/path_search.h"

#include <cstring>
#include <new>

#include "paths/child_search.h"
#include "paths/item_path.h"
#include "paths/path_component.h"
#include "paths/scratch_text.h"
#include "text/edge.h"
#include "text/log.h"

namespace {

using Ostrum::Element;
// What to look for among the children of one element.
struct Level {
  const PathComponent& component;
  bool isLast;
  std::uint32_t occurrence;
};

Element* SelectByFilter(const Element& parent, const PathComponent& component) {
  Element* const child =
      FindFirstChildWithValue(parent, component.NamePart(), component.AttributeName(), component.FilterValue());
  if (child != nullptr) LogDetail(L"Found ", component.FilterValue(), L" (attribute) in the element map.");
  return child;
}

// Null, with nothing logged but what names that can't be converted log, where no child is meant.
Element* SelectChild(const Element& parent, const Level& level) {
  if (level.component.HasFilter()) return SelectByFilter(parent, level.component);
  const char* const name = level.component.NamePart();
  const std::uint32_t n = level.isLast ? level.occurrence : 1;
  Element* const child = FindNthChild(parent, Ostrum::NameMatch::Prefix, name, n);
  if (child == nullptr) return nullptr;
  if (!level.isLast) {
    LogDetail(L"Found ", name, L" (element) in the element map.");
  } else if (n > 1) {
    LogDetail(name, n, L" (element) not found in the element map.");
  } else {
    LogDetail(name, L" (element) not found in the element map.");
  }
  return child;
}

bool HasNoChildren(const Element& element) noexcept { return element.Begin() == element.End(); }

bool NameBeginsWith(const Element& element, const char* path) {
  const LocaleText name(element.GetName());
  return name.Text() && name.Text()->starts_with(path);
}

// Goes down level by level; path moves along, and is what the level that fails was to resolve.
Element* Resolve(Element* start, const char*& path, std::uint32_t occurrence) {
  std::size_t size = std::strlen(path) + 1;
  ScratchText token(size);
  while (!HasNoChildren(*start)) {
    const char* const rest = ReturnTokenFromString(path, token.Data(), static_cast<std::uint32_t>(size), "\\");
    const PathComponent component(token.Data());
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
