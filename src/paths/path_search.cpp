#include "paths/path_search.h"

#include <cassert>
#include <cstring>
#include <new>
#include <string>

#include "paths/child_search.h"
#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// Ends the text at its first separator, one character, and gives the rest behind it; null where there is none.
char* CutToken(char* text, const char* separator) {
  char* const rest = ReturnTokenFromString(text, nullptr, 0, separator);
  if (rest == nullptr) return nullptr;
  assert(rest[-1] == *separator && separator[1] == '\0');
  rest[-1] = '\0';
  return rest;
}

// "Name&attribute=value" taken apart. Only the first 259 bytes of a component with "&" count.
class PathComponent {
 public:
  // component must outlive this object.
  explicit PathComponent(const char* component) : name(component) {
    if (platform::MbsFindChar(component, '&') == nullptr) return;
    platform::MbsCopyBytes(cut, component, bufferSize - 1);
    cut[bufferSize - 1] = '\0';
    name = cut;
    char* const filter = CutToken(cut, "&");
    if (filter == nullptr || platform::MbsFindChar(filter, '=') == nullptr) return;
    attributeName = filter;
    filterValue = CutToken(filter, "=");
  }
  PathComponent(const PathComponent&) = delete;
  PathComponent& operator=(const PathComponent&) = delete;

  const char* NamePart() const noexcept { return name; }
  bool HasFilter() const noexcept { return filterValue != nullptr; }
  // Of the filter; null without one.
  const char* AttributeName() const noexcept { return attributeName; }
  const char* FilterValue() const noexcept { return filterValue; }

 private:
  const char* name;
  const char* attributeName = nullptr;
  const char* filterValue = nullptr;
  char cut[bufferSize];
};

Element* SelectByFilter(const Element& parent, const PathComponent& component) {
  Element* const child =
      FindFirstChildWithValue(parent, component.NamePart(), component.AttributeName(), component.FilterValue());
  if (child != nullptr) LogDetail(L"Found ", component.FilterValue(), L" (attribute) in the element map.");
  return child;
}

// Null where no child matches; only names that can't be converted are then logged.
Element* SelectChild(const Element& parent, const PathComponent& component, bool isLast, std::uint32_t occurrence) {
  if (component.HasFilter()) return SelectByFilter(parent, component);
  const char* const name = component.NamePart();
  const std::uint32_t n = isLast ? occurrence : 1;
  Element* const child = FindNthChild(parent, Ostrum::NameMatch::Prefix, name, n);
  if (child == nullptr) return nullptr;
  if (!isLast) {
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

// Goes down level by level. path moves along: after a failure it is what the failing level had to resolve.
Element* Resolve(Element* start, const char*& path, std::uint32_t occurrence) {
  // A copy, to be cut. Nearly all paths are short, and an allocation would cost as much as the search.
  char shortPath[bufferSize];
  std::string longPath;
  const std::size_t size = std::strlen(path) + 1;
  if (size > sizeof shortPath) longPath.resize(size);
  char* component = longPath.empty() ? shortPath : longPath.data();
  std::memcpy(component, path, size);
  while (!HasNoChildren(*start)) {
    char* const rest = CutToken(component, "\\");
    Element* const selected = SelectChild(*start, PathComponent(component), rest == nullptr, occurrence);
    if (selected == nullptr) {
      LogDetail(path, L" not found in the element map.");
      return nullptr;
    }
    if (rest == nullptr) return selected;

    path += rest - component;
    component = rest;
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
