// The question is converted, not the document. Whether that gives the same answer as converting
// every child depends on the question alone; only log lines that are due can demand a walk.
#include "paths/path_search.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "host/ostrumxml/data/utf8.h"
#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;
using Ostrum::NameMatch;

bool NameMatches(const Element& child, const ChildSearch& search) {
  const LocaleText name(child.GetName());
  if (!name.Text()) return false;
  if (search.match == NameMatch::Exact) return *name.Text() == search.name;
  return name.Text()->starts_with(search.name);
}

// Whether the child has the attribute and, if valueBegin is not null, a value that begins so.
bool HasValue(const Element& child, const DocumentText& attribute, const char* valueBegin) {
  const Ostrum::Value found = child.GetAttribute(attribute.Text().value_or("")); // none is empty
  if (found.IsNull() || valueBegin == nullptr) return !found.IsNull();
  std::string scratch;
  const LocaleText value(found.GetValue(scratch));
  return value.Text() && value.Text()->starts_with(valueBegin);
}

// Compares in the caller's character set. An attribute's name that cannot be converted logs its
// line for each child whose name matches.
Element Walk(const Element& parent, const ChildSearch& search) {
  std::uint32_t matches = 0;
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (!NameMatches(child, search)) continue;
    if (search.attribute != nullptr &&
        !HasValue(child, DocumentText(search.attribute), search.valueBegin))
      continue;
    if (++matches == search.n) return child;
  }
  return {};
}

// Whether a walk logs nothing about the children.
bool IsWalkSilent(const Element& parent, const ChildSearch& search) {
  if (!corekit::SinkIsSet() || RepresentableTexts().AcceptsAll()) return true;
  if (search.valueBegin != nullptr) return false; // each value would have to be converted to tell
  return parent.FindChild({.match = NameMatch::Prefix, .name = "", .filter = OtherTexts()})
      .IsNull();
}

} // namespace

Element FindChild(const Element& parent, const ChildSearch& search) {
  assert(search.valueBegin == nullptr || (search.attribute != nullptr && search.n == 1));
  const ComparableText name(search.name);
  const ComparableText attribute(search.attribute);
  const ComparableText value(search.valueBegin);
  const bool isComparable =
      name.IsComparable() && attribute.IsComparable() && value.IsComparable() &&
      (!attribute.Text() || Ostrum::IsUtf8(*attribute.Text())); // otherwise it has no meaning
  if (!isComparable || !IsWalkSilent(parent, search)) return Walk(parent, search);
  return parent.FindChild({.match = search.match,
                           .name = *name.Text(),
                           .n = search.n,
                           .attribute = attribute.Text(),
                           .valueBegin = value.Text(),
                           .filter = RepresentableTexts()});
}

namespace {

// Terminates the text at its first separator. Returns the rest, or null if there is no separator.
char* Cut(char* text, char separator) {
  const char* const rest = ReturnTokenFromString(text, separator);
  if (rest == nullptr) return nullptr;
  char* const end = text + (rest - text) - 1;
  assert(*end == separator);
  *end = '\0';
  return end + 1;
}

// Splits "Name&attribute=value". Without a "=", the name alone counts.
void SplitFilter(char* component, ChildSearch& search) {
  if (platform::MbsFindChar(component, '&') == nullptr) return;
  char* const filter = Cut(component, '&');
  if (platform::MbsFindChar(filter, '=') == nullptr) return;
  search.attribute = filter;
  search.valueBegin = Cut(filter, '=');
}

void LogSelected(const ChildSearch& search, bool isLast) {
  if (search.valueBegin != nullptr) {
    LogDetail(L"Found ", search.valueBegin, L" (attribute) in the element map.");
  } else if (!isLast) {
    LogDetail(L"Found ", search.name, L" (element) in the element map.");
  } else if (search.n > 1) {
    LogDetail(search.name, search.n, L" (element) not found in the element map.");
  } else {
    LogDetail(search.name, L" (element) not found in the element map.");
  }
}

Element SelectChild(const Element& parent, char* component, bool isLast, std::uint32_t occurrence) {
  ChildSearch search{NameMatch::Prefix, component};
  SplitFilter(component, search);
  if (isLast && search.valueBegin == nullptr) search.n = occurrence;
  const Element child = FindChild(parent, search);
  if (!child.IsNull()) LogSelected(search, isLast);
  return child;
}

// Goes down level by level. start moves along, to the parent of what is found, and path: after a
// failure it is what the failing level had to find.
Element Follow(Element& start, const char*& path, std::uint32_t occurrence) {
  std::string copy = path; // to be cut
  char* component = copy.data();
  while (!start.FirstChild().IsNull()) {
    char* const rest = Cut(component, '\\');
    const Element selected = SelectChild(start, component, rest == nullptr, occurrence);
    if (selected.IsNull()) {
      LogDetail(path, L" not found in the element map.");
      return {};
    }
    if (rest == nullptr) return selected;
    path += rest - component;
    component = rest;
    start = selected;
  }
  if (!NameMatches(start, {NameMatch::Prefix, path})) return {};
  return start;
}

// The path without its last component. Empty if the parent must not be known: each walk logs its
// lines, or the answer of a filter can change.
std::string_view ParentPath(const char* path) noexcept {
  if (corekit::SinkIsSet()) return {};
  const char* const end = platform::MbsFindLastChar(path, '\\');
  if (end == nullptr || std::find(path, end, '&') != end) return {};
  return {path, end};
}

} // namespace

Element FindElementByPath(Element start, const char* path, std::uint32_t occurrence,
                          KnownParent& known) {
  try {
    const std::string_view parentPath = ParentPath(path);
    const std::uint32_t charset = platform::CurrentCharset().id;
    const bool isKnown =
        known.start == start && known.charset == charset && known.path == parentPath;
    Element parent = start;
    if (isKnown) {
      parent = known.parent;
      path += parentPath.size() + 1;
    }
    const Element found = Follow(parent, path, occurrence);
    const bool isNew = !isKnown && !parentPath.empty() && !found.IsNull();
    if (isNew) known = {start, parent, std::string(parentPath), charset};
    return found;
  } catch (...) {
    LogError(L"Unknown exception occurred while searching for ", path);
    throw;
  }
}
