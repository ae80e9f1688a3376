#include "paths/path_component.h"

#include <cstring>

#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/narrow_value.h"

namespace {

void CopyCut(char* target, const char* source) noexcept {
  platform::MbsCopyBytes(target, source, bufferSize - 1);
  target[bufferSize - 1] = '\0';
}

} // namespace

PathComponent::PathComponent(const char* component) : namePart(component) {
  if (platform::MbsFindChar(component, '&') != nullptr) {
    char cut[bufferSize];
    CopyCut(cut, component);
    const char* const filter = ReturnTokenFromString(cut, name, bufferSize, "&");
    namePart = name;
    hasFilter = filter != nullptr && platform::MbsFindChar(filter, '=') != nullptr;
    if (hasFilter) CopyCut(filterValue, ReturnTokenFromString(filter, attributeName, bufferSize, "="));
    filterValueLength = hasFilter ? std::strlen(filterValue) : 0;
  }
  nameLength = std::strlen(namePart);
}

bool PathComponent::MatchesName(const NarrowName& elementName) const noexcept {
  return elementName.Text() && elementName.Text()->starts_with(std::string_view(namePart, nameLength));
}

bool PathComponent::PassesFilter(const Ostrum::Element& element) {
  if (wideAttributeName == nullptr) wideAttributeName.reset(ConvertToUnicode(attributeName));
  if (wideAttributeName == nullptr) return false;

  const Ostrum::Attribute attribute = element.GetAttribute(wideAttributeName.get());
  if (attribute.IsNull()) return false;
  const NarrowValue value(attribute);
  return value.Text() != nullptr && std::strncmp(value.Text(), filterValue, filterValueLength) == 0;
}
