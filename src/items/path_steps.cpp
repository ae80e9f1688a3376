#include "items/path_steps.h"

#include <cstdint>

#include "paths/item_path.h"
#include "platform/platform.h"

bool PathSteps::Next(PathStep& step) {
  if (rest == nullptr) return false;
  rest = Cut(rest, '\\', whole);
  step.name.clear();
  step.attributeName.clear();
  step.attributeValue.clear();
  if (whole.empty()) return true;

  const char* attributePart = Cut(whole.c_str(), '&', step.name);
  if (attributePart == nullptr) return true;
  const char* value = Cut(attributePart, '=', step.attributeName);
  if (value != nullptr) step.attributeValue = value;
  return true;
}

// The place of the separator is found beforehand, so that a token costs its own length and not that of the whole path.
const char* PathSteps::Cut(const char* source, char separator, std::string& token) const {
  const char* place = platform::MbsFindChar(source, separator);
  if (place != nullptr) {
    token.assign(source, place);
  } else {
    token.assign(source);
  }
  if (!isLogged) return place != nullptr ? place + 1 : nullptr;

  const char separatorText[] = {separator, '\0'};
  return ReturnTokenFromString(source, token.data(), static_cast<std::uint32_t>(token.size() + 1), separatorText);
}
