#include "paths/path_search.h"

#include <cassert>
#include <cstring>
#include <optional>
#include <string>

#include "host/ostrumxml/data/utf8.h"
#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;
using Ostrum::NameMatch;

// Compares children's names with a text. Equal names share their text in the document, so a run of
// them is converted once.
class NameComparison {
 public:
  NameComparison(NameMatch match, std::string_view text) noexcept : match(match), text(text) {}

  bool Matches(std::string_view name) {
    const bool isKnown = name.data() == lastName && (lastConverted || !corekit::SinkIsSet());
    if (!isKnown) Compare(name);
    return lastMatched;
  }

 private:
  void Compare(std::string_view name) {
    const LocaleText converted(name);
    lastName = name.data();
    lastConverted = converted.Text().has_value();
    lastMatched = lastConverted && converted.Text()->starts_with(text);
    if (match == NameMatch::Exact && lastMatched)
      lastMatched = converted.Text()->size() == text.size();
  }

  NameMatch match;
  std::string_view text;
  const char* lastName = nullptr;
  bool lastConverted = false;
  bool lastMatched = false;
};

// The first child whose name matches and for which isWanted holds.
template <class IsWanted>
Element Walk(const Element& parent, NameMatch match, std::string_view text, IsWanted isWanted) {
  NameComparison names(match, text);
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    if (names.Matches(child->GetName()) && isWanted(*child)) return *child;
  }
  return {};
}

// Whether converting the names of all children logs nothing.
bool NamesConvertSilently(const Element& parent, const LocaleFilters& filters) {
  if (!corekit::SinkIsSet() || filters.WithForm() == nullptr) return true;
  const Ostrum::TextFilter& withoutForm = filters.WithoutForm();
  return parent.FindChild({.match = NameMatch::Prefix, .name = "", .filter = &withoutForm})
      .IsNull();
}

} // namespace

Element FindNthChild(const Element& parent, NameMatch match, std::string_view text,
                     std::uint32_t n) {
  const LocaleFilters filters;
  const ComparableText name(text);
  if (name.Text() && NamesConvertSilently(parent, filters)) {
    return parent.FindChild(
        {.match = match, .name = *name.Text(), .n = n, .filter = filters.WithForm()});
  }
  return Walk(parent, match, text, [&n](const Element&) { return n-- == 1; });
}

Element FindNthChildWithAttribute(const Element& parent, std::string_view text,
                                  const std::string_view* attributeName, std::uint32_t n) {
  if (attributeName == nullptr) n = 0;
  const LocaleFilters filters;
  const ComparableText name(text);
  if (name.Text() && NamesConvertSilently(parent, filters)) {
    if (n == 0) return {};
    return parent.FindChild({.match = NameMatch::Exact,
                             .name = *name.Text(),
                             .n = n,
                             .attribute = *attributeName,
                             .filter = filters.WithForm()});
  }
  return Walk(parent, NameMatch::Exact, text, [&](const Element& child) {
    return n > 0 && !child.GetAttribute(*attributeName).IsNull() && n-- == 1;
  });
}

Element FindFirstChildWithValue(const Element& parent, std::string_view nameBegin,
                                const char* attributeName, std::string_view valueBegin) {
  const LocaleFilters filters;
  const ComparableText name(nameBegin);
  const ComparableText attribute(attributeName);
  const ComparableText value(valueBegin);
  const bool isComparable = name.Text() && attribute.Text() && value.Text();
  // Otherwise a line is due for each name or value without a form, or for the attribute's name.
  const bool isSilent = filters.WithForm() == nullptr || !corekit::SinkIsSet();
  if (isComparable && isSilent && Ostrum::IsUtf8(*attribute.Text())) {
    return parent.FindChild({.match = NameMatch::Prefix,
                             .name = *name.Text(),
                             .attribute = *attribute.Text(),
                             .valueBegin = *value.Text(),
                             .filter = filters.WithForm()});
  }
  std::optional<DocumentText> converted;
  std::string scratch;
  return Walk(parent, NameMatch::Prefix, nameBegin, [&](const Element& child) {
    if (!converted || !converted->Text()) converted.emplace(attributeName);
    if (!converted->Text()) return false;
    const Ostrum::Attribute found = child.GetAttribute(*converted->Text());
    if (found.IsNull()) return false;
    const LocaleText childValue(found.GetValue(scratch));
    return childValue.Text() && childValue.Text()->starts_with(valueBegin);
  });
}

namespace {

// Ends the text at its first separator, one character, and gives the rest behind it; null where
// there is none.
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
  PathComponent(PathComponent&&) = delete;

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

Element SelectByFilter(const Element& parent, const PathComponent& component) {
  const Element child = FindFirstChildWithValue(parent, component.NamePart(),
                                                component.AttributeName(), component.FilterValue());
  if (!child.IsNull())
    LogDetail(L"Found ", component.FilterValue(), L" (attribute) in the element map.");
  return child;
}

// Null where no child matches; only names that can't be converted are then logged.
Element SelectChild(const Element& parent, const PathComponent& component, bool isLast,
                    std::uint32_t occurrence) {
  if (component.HasFilter()) return SelectByFilter(parent, component);
  const char* const name = component.NamePart();
  const std::uint32_t n = isLast ? occurrence : 1;
  const Element child = FindNthChild(parent, Ostrum::NameMatch::Prefix, name, n);
  if (child.IsNull()) return {};
  if (!isLast) {
    LogDetail(L"Found ", name, L" (element) in the element map.");
  } else if (n > 1) {
    LogDetail(name, n, L" (element) not found in the element map.");
  } else {
    LogDetail(name, L" (element) not found in the element map.");
  }
  return child;
}

bool NameBeginsWith(const Element& element, const char* path) {
  const LocaleText name(element.GetName());
  return name.Text() && name.Text()->starts_with(path);
}

// Goes down level by level. path moves along: after a failure it is what the failing level had to
// resolve.
Element Resolve(Element start, const char*& path, std::uint32_t occurrence) {
  // A copy, to be cut. Nearly all paths are short, and an allocation would cost as much as the
  // search.
  char shortPath[bufferSize];
  std::string longPath;
  const std::size_t size = std::strlen(path) + 1;
  if (size > sizeof shortPath) longPath.resize(size);
  char* component = longPath.empty() ? shortPath : longPath.data();
  std::memcpy(component, path, size);
  while (!start.FirstChild().IsNull()) {
    char* const rest = CutToken(component, "\\");
    const Element selected =
        SelectChild(start, PathComponent(component), rest == nullptr, occurrence);
    if (selected.IsNull()) {
      LogDetail(path, L" not found in the element map.");
      return {};
    }
    if (rest == nullptr) return selected;
    path += rest - component;
    component = rest;
    start = selected;
  }
  if (!NameBeginsWith(start, path)) return {};
  return start;
}

} // namespace

Element FindElementByPath(Element start, const char* path, std::uint32_t occurrence,
                          std::exception_ptr* failure) noexcept try {
  return Resolve(start, path, occurrence);
} catch (...) {
  LogError(L"Unknown exception occurred while searching for ", path);
  if (failure != nullptr) *failure = std::current_exception();
  return {};
}
