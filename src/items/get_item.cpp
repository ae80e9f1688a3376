// The exported functions that read items.
#include <algorithm>
#include <cassert>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "paths/item_path.h"
#include "paths/path_search.h"
#include "platform/platform.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"
#include "text/caller_buffer.h"
#include "text/charset_scope.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;
using Ostrum::Value;

struct ItemRequest {
  const char* path;
  const char* itemName;
  const char* itemType;
  std::int32_t index;
  const char* attributeName;
  const char* valueType;
  CallerBuffer value;
};

// An item type or value type names a keyword by any text that begins with it, ignoring case. Nearly
// every caller writes it in capitals, and comparing bytes is much faster than folding characters.
bool BeginsWithKeyword(std::string_view type, std::string_view keyword) noexcept {
  return type == keyword || platform::MbsEqualsNoCase(type.substr(0, keyword.size()), keyword);
}

// A null pointer from the caller must not crash the caller's process.
void RequireGiven(std::initializer_list<const char*> texts) {
  if (std::ranges::count(texts, nullptr) > 0)
    throw std::invalid_argument("a text that is needed is null");
}

// The part of a value that gives at least its first `limit` bytes in the caller's character set;
// all of it if a line is due because that cannot represent it. No part of such a value must be
// answered.
std::string_view ReadForConversion(const Value& value, std::size_t limit, std::string& scratch) {
  constexpr std::size_t maxGrowth = 4; // bytes of UTF-8 for one of the locale's
  const Ostrum::TextFilter filter = RepresentableTexts();
  const std::size_t enough = std::min(limit, std::string::npos / maxGrowth) * maxGrowth;
  const std::string_view begin = value.GetValue(scratch, enough);
  if (begin.size() < enough) return begin; // the whole value
  if (!value.IsAccepted(filter)) return value.GetValue(scratch);
  return begin.substr(0, Ostrum::ValidUtf8Prefix(begin));
}

// Stores the miss, logs what is missing, and gives the code.
std::uint32_t Missing(const ItemRequest& request, const char* name, const wchar_t* kind) {
  request.value.Store("Not Found");
  LogDetail(name, kind, L" not found in the element map.");
  return XmlNotFound;
}

// The element that the path is a key of; the null element if there is none.
Element FindKnownElement(const XmlFileRecord& record, const char* path) {
  assert(path != nullptr && record.elementMap->Size() > 0);
  char buffer[bufferSize];
  std::string_view key = PathBelowRoot(record, path, buffer);
  if (key.empty()) key = TruncateToBuffer(path, buffer); // the root alone, whose key is its name
  return record.elementMap->Find(key);
}

// Index 0 takes the first child, whatever its name; a negative one takes none. attributeName: of
// the child; null if none is asked for.
Element FindItem(const Element& parent, const ItemRequest& request,
                 const DocumentText* attributeName) {
  if (request.index == 0) return parent.FirstChild();
  ChildSearch search{Ostrum::NameMatch::Exact, request.itemName};
  search.n = static_cast<std::uint32_t>(request.index); // more than there are, if negative
  if (attributeName != nullptr && attributeName->Text()) {
    search.attribute = request.attributeName;
  } else if (attributeName != nullptr) {
    search.n = 0; // no child has an attribute whose name cannot be converted
  }
  return FindChild(parent, search);
}

// Throws std::bad_optional_access if the character set cannot represent the text.
std::uint32_t ReadChildText(const Element& element, const ItemRequest& request) {
  const Element child = FindItem(element, request, nullptr);
  if (child.IsNull()) return Missing(request, request.itemName, L" (element)");
  if (!request.value.IsWanted()) return XmlSuccess;

  std::string scratch;
  const LocaleText text(ReadForConversion(child.Text(), request.value.Capacity(), scratch));
  request.value.Store(text.Text().value());
  LogDetail(L"Found ", request.itemName, L" (element) in the element map.  It's value is ",
            request.value.Text(), L".");
  return XmlSuccess;
}

// Reads an attribute of the element, if the item has its name, or else of a child, whose text is
// the value if so asked. The log line shows the value whole, so it is then read so. Throws as
// ReadChildText does.
std::uint32_t ReadAttribute(const Element& element, const ItemRequest& request) {
  RequireGiven({request.attributeName});
  const DocumentText attributeName(request.attributeName);
  const LocaleText ownName(element.GetName());
  const bool isOwn = ownName.Text() == request.itemName;
  Element owner = element;
  if (!isOwn) owner = FindItem(element, request, &attributeName);
  if (owner.IsNull()) return Missing(request, request.itemName, L" (element)");
  Value found = owner.GetAttribute(attributeName.Text().value_or("")); // no name is empty
  // Only index 0 takes a child without the attribute.
  if (found.IsNull()) return Missing(request, request.attributeName, L" (attribute)");
  if (!request.value.IsWanted()) return XmlSuccess;

  if (!isOwn) RequireGiven({request.valueType});
  const bool isText = !isOwn && !BeginsWithKeyword(request.valueType, "ATTRIBUTE");
  if (isText) found = owner.Text();
  const auto limit = corekit::SinkIsSet() ? std::string::npos : request.value.Capacity();
  std::string scratch;
  const LocaleText converted(ReadForConversion(found, limit, scratch));
  const std::string_view value = converted.Text().value();
  if (corekit::SinkIsSet()) {
    LogDetail(L"Found ", request.itemName, L"-", request.attributeName,
              L" in the element map.  It's value is ", std::string(value).c_str(),
              isText ? L" (element)." : L" (attribute).");
  }
  request.value.Store(value);
  return XmlSuccess;
}

std::uint32_t Read(const XmlFileRecord& record, const ItemRequest& request) {
  RequireGiven({request.path, request.itemName, request.itemType});
  const Element element = FindKnownElement(record, request.path);
  if (element.IsNull()) return Missing(request, request.path, L"");
  if (BeginsWithKeyword(request.itemType, "ELEMENT")) return ReadChildText(element, request);
  if (BeginsWithKeyword(request.itemType, "ATTRIBUTE")) return ReadAttribute(element, request);
  return XmlSuccess;
}

// What GetXMLItem and EnumXMLItem do.
std::uint32_t GenericGetItem(const wchar_t* function, XmlFileList* list, std::uint32_t cookie,
                             const ItemRequest& request) noexcept {
  const CharsetScope charset;
  const Trace trace(function);
  const XmlFileRecord* record = FindXmlFile(list, cookie);
  if (record == nullptr) return XmlNotFound;
  try {
    return Read(*record, request);
  } catch (...) {
    LogDetail(L"Failed to get ", request.itemName, L": unknown exception thrown.");
    return XmlFailure;
  }
}

} // namespace

std::uint32_t TARVIK_CALL GetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path,
                                     const char* itemName, const char* itemType,
                                     const char* attributeName, const char* valueType, char* value,
                                     std::uint32_t capacity) {
  return GenericGetItem(L"GetXMLItem", list, cookie,
                        {path, itemName, itemType, 1, attributeName, valueType, {value, capacity}});
}

std::uint32_t TARVIK_CALL EnumXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path,
                                      const char* itemName, const char* itemType,
                                      std::int32_t index, const char* attributeName,
                                      const char* valueType, char* value, std::uint32_t capacity) {
  return GenericGetItem(
      L"EnumXMLItem", list, cookie,
      {path, itemName, itemType, index, attributeName, valueType, {value, capacity}});
}
