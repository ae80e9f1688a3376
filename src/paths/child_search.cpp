#include "paths/child_search.h"

#include <optional>
#include <string>

#include "corekit/corekit.h"
#include "host/ostrumxml/utf8.h"
#include "text/convert.h"

namespace {

using Ostrum::Element;
using Ostrum::NameMatch;

// Compares children's names with a text. Equal names share their text in the document, so a run of them is converted once.
class NameComparison {
 public:
  NameComparison(NameMatch match, std::string_view text) noexcept : match(match), text(text) {}

  bool Matches(const Element& child) {
    const std::string_view name = child.GetName();
    const bool isKnown = name.data() == lastName && (lastConverted || !corekit::LogIsOn());
    if (isKnown) return lastMatched;
    const LocaleText converted(name);
    lastName = name.data();
    lastConverted = converted.Text().has_value();
    lastMatched =
        lastConverted && (match == NameMatch::Exact ? *converted.Text() == text : converted.Text()->starts_with(text));
    return lastMatched;
  }

 private:
  NameMatch match;
  std::string_view text;
  const char* lastName = nullptr;
  bool lastConverted = false;
  bool lastMatched = false;
};

// The first child whose name matches and for which isWanted holds.
template <class IsWanted>
Element* Walk(const Element& parent, NameMatch match, std::string_view text, IsWanted isWanted) {
  NameComparison names(match, text);
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    if (names.Matches(*child) && isWanted(*child)) return &*child;
  }
  return nullptr;
}

// Whether comparing the names in UTF-8 gives the same answer and nothing would be logged.
bool CanCompareInUtf8(const Element& parent, std::string_view text) {
  return DocumentPasses(parent) || (PassesAsItIs(text) && parent.ChildNamesAreAscii());
}

Element* NullIfNone(Element& element) noexcept { return element.IsNull() ? nullptr : &element; }

} // namespace

Element* FindNthChild(const Element& parent, NameMatch match, std::string_view text, std::uint32_t n) {
  if (CanCompareInUtf8(parent, text)) return NullIfNone(parent.NthChild(match, text, n));
  return Walk(parent, match, text, [&n](const Element&) { return n-- == 1; });
}

Element* FindNthChildWithAttribute(const Element& parent, std::string_view name, const std::string_view* attributeName,
                                   std::uint32_t n) {
  if (attributeName == nullptr) n = 0;
  if (CanCompareInUtf8(parent, name)) {
    return n == 0 ? nullptr : NullIfNone(parent.NthChildWithAttribute(name, *attributeName, n));
  }
  return Walk(parent, NameMatch::Exact, name,
              [&](const Element& child) { return n > 0 && !child.GetAttribute(*attributeName).IsNull() && n-- == 1; });
}

Element* FindFirstChildWithValue(const Element& parent, std::string_view nameBegin, const char* attributeName,
                                 std::string_view valueBegin) {
  if (DocumentPasses(parent) && PassesAsItIs(attributeName) && Ostrum::IsUtf8(attributeName)) {
    return NullIfNone(parent.FirstChildWithValue(nameBegin, attributeName, valueBegin));
  }
  std::optional<DocumentText> attribute;
  std::string scratch;
  return Walk(parent, NameMatch::Prefix, nameBegin, [&](const Element& child) {
    if (!attribute || !attribute->Text()) attribute.emplace(attributeName);
    if (!attribute->Text()) return false;
    const Ostrum::Attribute found = child.GetAttribute(*attribute->Text());
    if (found.IsNull()) return false;
    const LocaleText value(found.GetValue(scratch));
    return value.Text() && value.Text()->starts_with(valueBegin);
  });
}
