// Parsing a call of SetXMLItem. All that can be refused without a document is refused here, before
// anything is changed.
#include "items/set_request.h"

#include <cassert>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/ostrumxml/data/xml_text.h"
#include "paths/item_path.h"
#include "platform/platform.h"
#include "text/convert.h"

namespace {

// If it cannot be told whether the path begins with the root, throws: otherwise a second root could
// be created below the root.
std::string WithoutRoot(const XmlFileRecord& record, const char* path) {
  if (IsRootInPath(record, path)) path = RemoveRootFromBeginningOfPath(path);
  return path;
}

SetText Converted(std::string given) {
  const DocumentText converted(given.c_str());
  if (!converted.Text()) {
    throw std::invalid_argument("a name or value is not valid text in the locale's character set");
  }
  std::string utf8(*converted.Text());
  return {std::move(given), std::move(utf8)};
}

SetText Value(std::string given) {
  SetText value = Converted(std::move(given));
  if (!Ostrum::IsXmlText(value.utf8))
    throw std::invalid_argument(
        "the value contains a character that XML does not allow, such as a "
        "control character");
  return value;
}

SetAttribute Attribute(std::string name, std::string value) {
  SetAttribute attribute{Converted(std::move(name)), Value(std::move(value))};
  if (!Ostrum::IsXmlName(attribute.name.utf8))
    throw std::invalid_argument("the attribute's name is not a valid XML name");
  return attribute;
}

// Checked without looking whether the element exists: no name in a document begins with an invalid
// name.
SetText ElementName(std::string given) {
  SetText name = Converted(std::move(given));
  if (Ostrum::IsXmlName(name.utf8)) return name;
  throw InvalidElementName("an element's name is empty or not a valid XML name");
}

// Returns the text before the first separator and moves rest after it; if there is none, returns
// all and sets rest to null.
std::string Cut(const char*& rest, char separator) {
  assert(rest != nullptr);
  const char* const start = rest;
  rest = platform::MbsFindChar(start, separator);
  if (rest == nullptr) return start;
  return {start, rest++};
}

SetStep Step(std::string component) {
  const char* rest = component.c_str();
  SetStep step{{}, ElementName(Cut(rest, '&')), {}};
  std::string attributeName;
  if (rest != nullptr) attributeName = Cut(rest, '=');
  // An attribute part without a name or without a value is ignored.
  if (!attributeName.empty() && rest != nullptr && *rest != '\0') {
    step.attributes.push_back(Attribute(std::move(attributeName), rest));
  }
  step.component = std::move(component);
  return step;
}

} // namespace

SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName,
                           const char* itemType, const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr) {
    throw std::invalid_argument("a path, item name, item type or value is null");
  }
  constexpr std::size_t longest =
      UINT32_MAX - 2; // leaves room for a separator and the terminating zero
  if (std::strlen(path) + std::strlen(itemName) > longest)
    throw std::length_error("the path is too long");
  SetRequest request;
  std::string rest = WithoutRoot(record, path);
  if (std::string_view(itemType) == "ELEMENT") {
    if (!rest.empty()) rest += '\\';
    rest += itemName;
    if (rest.empty()) throw std::invalid_argument("the item has no name");
    request.text = Value(value).utf8;
  }
  request.maxKeyLength = rest.size();
  request.steps.emplace_back();
  const char* next = rest.c_str();
  if (rest.empty()) next = nullptr;
  while (next != nullptr) request.steps.push_back(Step(Cut(next, '\\')));
  if (std::string_view(itemType) == "ATTRIBUTE" && *itemName != '\0' && *value != '\0') {
    request.steps.back().attributes.push_back(Attribute(itemName, value));
    request.maxKeyLength += std::strlen(itemName) + std::strlen(value) + std::strlen("&=");
  }
  return request;
}
