#include "paths/path_component.h"

#include "paths/item_path.h"
#include "platform/platform.h"

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
  }
}
