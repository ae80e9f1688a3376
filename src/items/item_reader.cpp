#include "items/item_reader.h"

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

#include "items/child_search.h"
#include "items/item_type.h"
#include "items/value_buffer.h"
#include "paths/item_path.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/log.h"
#include "text/narrow_name.h"
#include "text/narrow_value.h"
#include "text/wide_name.h"

namespace {

using Ostrum::Attribute;
using Ostrum::Element;
using Ostrum::Node;

struct ItemRequest {
  const char* path;
  const char* itemName;
  const char* itemType;
  std::int32_t index;
  const char* attributeName;
  const char* valueType;
  ValueBuffer value;
};

// A caller's missing text must not end the caller's process.
void RequireGiven(std::initializer_list<const char*> texts) {
  if (std::ranges::find(texts, nullptr) != texts.end()) throw std::invalid_argument("a text that is needed is null");
}

// A node's value in the caller's character set. A value that has no place there must not come back as an empty one.
class ItemValue {
 public:
  explicit ItemValue(const Node& node) : narrow(node) {
    if (narrow.Text() == nullptr) throw std::range_error("a value has no form in the locale's character set");
  }
  const char* Text() const noexcept { return narrow.Text(); }

 private:
  NarrowValue narrow;
};

// Stores the miss, logs the line that the pieces make, and gives the code.
template <class... Pieces>
std::uint32_t Missing(const ItemRequest& request, const Pieces&... line) {
  request.value.Store("Not Found");
  LogDetail(line...);
  return XmlNotFound;
}

std::uint32_t ElementMissing(const ItemRequest& request) {
  return Missing(request, request.itemName, L" (element) not found in the element map.");
}

std::uint32_t AttributeMissing(const ItemRequest& request) {
  return Missing(request, request.attributeName, L" (attribute) not found in the element map.");
}

// The element that the path is a key of; null when there is none.
Element* FindKnownElement(const XmlFileRecord& record, const char* path) {
  char key[bufferSize];
  key[0] = '\0';
  if (IsRootInPath(record, path) == 1) RemoveRootFromBeginningOfPath(path, key, bufferSize);
  if (key[0] == '\0') {
    const std::string_view whole(path);
    if (whole.size() < bufferSize) return FindInElementMap(*record.elementMap, whole);
    platform::MbsCopyBytes(key, path, bufferSize - 1);
    key[bufferSize - 1] = '\0';
  }
  return FindInElementMap(*record.elementMap, key);
}

std::uint32_t ReadChildText(const Element& element, const ItemRequest& request) {
  const Element* child = FindChild(element, request.itemName, request.index);
  if (child == nullptr) return ElementMissing(request);
  if (!request.value.IsWanted()) return XmlSuccess;

  request.value.Store(ItemValue(*child).Text());
  LogDetail(L"Found ", request.itemName, L" (element) in the element map.  It's value is ", request.value.Text(), L".");
  return XmlSuccess;
}

void LogFoundAttribute(const ItemRequest& request, const wchar_t* attributeName, const ItemValue& value,
                       const wchar_t* ending) noexcept {
  LogDetail(L"Found ", request.itemName, L"-", attributeName, L" in the element map.  It's value is ", value.Text(),
            ending);
}

std::uint32_t ReadOwnAttribute(const Element& element, const wchar_t* attributeName, const ItemRequest& request) {
  if (attributeName == nullptr) return AttributeMissing(request);
  const Attribute attribute = element.GetAttribute(attributeName);
  if (attribute.IsNull()) return AttributeMissing(request);
  if (!request.value.IsWanted()) return XmlSuccess;

  const ItemValue value(attribute);
  request.value.Store(value.Text());
  LogFoundAttribute(request, attributeName, value, L" (attribute).");
  return XmlSuccess;
}

std::uint32_t ReadChildAttribute(const Element& element, const wchar_t* attributeName, const ItemRequest& request) {
  const Element* child = FindChildWithAttribute(element, request.itemName, request.index, attributeName);
  if (child == nullptr) return ElementMissing(request);
  if (attributeName == nullptr) return AttributeMissing(request);
  const Attribute attribute = child->GetAttribute(attributeName);
  if (attribute.IsNull()) return AttributeMissing(request); // only index 0 takes a child without it
  if (!request.value.IsWanted()) return XmlSuccess;

  const bool wantsAttribute = BeginsWithKeyword(request.valueType, attributeKeyword);
  const ItemValue value(wantsAttribute ? static_cast<const Node&>(attribute) : *child);
  LogFoundAttribute(request, attributeName, value, wantsAttribute ? L" (attribute)." : L" (element).");
  request.value.Store(value.Text());
  return XmlSuccess;
}

std::uint32_t ReadAttribute(const Element& element, const ItemRequest& request) {
  RequireGiven({request.attributeName, request.valueType});
  const WideName attributeName(request.attributeName);
  const NarrowName ownName(element);
  const bool isOwn = ownName.Text() && *ownName.Text() == request.itemName;
  return isOwn ? ReadOwnAttribute(element, attributeName.Text(), request)
               : ReadChildAttribute(element, attributeName.Text(), request);
}

std::uint32_t Read(const XmlFileRecord& record, const ItemRequest& request) {
  RequireGiven({request.path, request.itemName, request.itemType});
  const Element* element = FindKnownElement(record, request.path);
  if (element == nullptr || element->IsNull()) {
    return Missing(request, request.path, L" not found in the element map.");
  }
  if (BeginsWithKeyword(request.itemType, elementKeyword)) return ReadChildText(*element, request);
  if (BeginsWithKeyword(request.itemType, attributeKeyword)) return ReadAttribute(*element, request);
  return XmlSuccess;
}

} // namespace

std::uint32_t GenericGetItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                             const char* itemType, std::int32_t index, const char* attributeName, const char* valueType,
                             char* value, std::uint32_t capacity) noexcept {
  const XmlFileRecord* record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) return XmlNotFound;
  try {
    return Read(*record, {path, itemName, itemType, index, attributeName, valueType, ValueBuffer(value, capacity)});
  } catch (...) {
    LogDetail(L"Failed to get ", itemName, L": unknown exception thrown.");
    return XmlFailure;
  }
}
