#include "items/set_request.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "host/ostrumxml/characters.h"
#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

void RequireShort(const char* path, const char* itemName) {
  const std::size_t separatorAndEnd = 2;
  const std::size_t length = std::strlen(path) + std::strlen(itemName);
  if (length > std::numeric_limits<std::uint32_t>::max() - separatorAndEnd) throw std::length_error("path");
}

std::string WithoutRoot(const XmlFileRecord& record, const char* path) {
  std::string rest(path);
  std::exception_ptr failure;
  const bool hasRoot = IsRootInPath(record, path, &failure) == 1;
  if (failure) std::rethrow_exception(failure); // else a second root could be made below the root
  if (!hasRoot) return rest;
  RemoveRootFromBeginningOfPath(path, rest.data(), static_cast<std::uint32_t>(rest.size() + 1));
  rest.resize(std::strlen(rest.c_str()));
  return rest;
}

SetText Converted(std::string given) {
  const DocumentText converted(given.c_str());
  if (!converted.Text()) throw std::invalid_argument("not text in the locale's character set");
  std::string utf8(*converted.Text());
  return {std::move(given), std::move(utf8)};
}

SetText Value(std::string given) {
  SetText value = Converted(std::move(given));
  if (!Ostrum::IsXmlText(value.utf8)) throw std::invalid_argument("a character that XML can't carry");
  return value;
}

SetAttribute Attribute(std::string name, std::string value) {
  SetAttribute attribute{Converted(std::move(name)), Value(std::move(value))};
  if (!Ostrum::IsXmlName(attribute.name.utf8)) throw std::invalid_argument("no XML name");
  return attribute;
}

// Needed even if the element exists: no name in a document begins with something that is not a name.
SetText ElementName(std::string given) {
  SetText name = Converted(std::move(given));
  if (Ostrum::IsXmlName(name.utf8)) return name;
  LogError(L"Failed to add element to parent node. Cannot continue");
  throw std::invalid_argument("no XML name");
}

// Returns the text up to the first separator and moves rest behind it; without one, returns all of it and sets rest to null.
std::string Cut(const char*& rest, char separator) {
  const char* const place = platform::MbsFindChar(rest, separator);
  std::string part = place == nullptr ? std::string(rest) : std::string(rest, place);
  rest = place == nullptr ? nullptr : place + 1;
  return part;
}

SetStep Step(std::string component) {
  const char* rest = component.c_str();
  SetStep step{{}, ElementName(Cut(rest, '&')), {}};
  std::string attributeName = rest == nullptr ? std::string() : Cut(rest, '=');
  // An attribute part without a name or without a value is ignored.
  if (!attributeName.empty() && rest != nullptr && *rest != '\0') {
    step.attributes.push_back(Attribute(std::move(attributeName), rest));
  }
  step.component = std::move(component);
  return step;
}

} // namespace

SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName, const char* itemType,
                           const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr) {
    throw std::invalid_argument("a text that is needed is null");
  }
  RequireShort(path, itemName);
  SetRequest request;
  std::string rest = WithoutRoot(record, path);
  if (std::string_view(itemType) == "ELEMENT") {
    if (!rest.empty()) rest += '\\';
    rest += itemName;
    if (rest.empty()) throw std::invalid_argument("an element item without a name");
    request.text = Value(value).utf8;
  }
  request.target = rest + '\n' + itemType;
  request.longestKey = rest.size();
  request.steps.emplace_back();
  for (const char* next = rest.empty() ? nullptr : rest.c_str(); next != nullptr;) {
    request.steps.push_back(Step(Cut(next, '\\')));
  }
  if (std::string_view(itemType) == "ATTRIBUTE" && *itemName != '\0' && *value != '\0') {
    request.steps.back().attributes.push_back(Attribute(itemName, value));
    request.target.append("\n").append(itemName);
    request.longestKey += std::strlen(itemName) + std::strlen(value) + std::strlen("&=");
  }
  return request;
}
