#include "items/set_request.h"

#include <cstring>
#include <limits>
#include <stdexcept>

#include "items/item_type.h"
#include "items/path_steps.h"
#include "items/xml_text.h"
#include "paths/item_path.h"

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

void RequireXmlAttribute(const std::string& name, const std::string& value) {
  RequireXmlName(name.c_str());
  RequireXmlText(value.c_str());
}

// An element that the path names may be there already, but no name in a document begins with what is no name.
void RequireXmlPath(const std::string& path) {
  PathSteps steps(path.c_str(), PathSteps::Cutting::Silent);
  PathStep step;
  while (steps.Next(step)) {
    RequireXmlName(step.name.c_str());
    if (step.HasAttribute()) RequireXmlAttribute(step.attributeName, step.attributeValue);
  }
}

} // namespace

SetRequest CheckSetRequest(const XmlFileRecord& record, const char* path, const char* itemName, const char* itemType,
                           const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr) {
    throw std::invalid_argument("a text that is needed is null");
  }
  RequireShort(path, itemName);
  SetRequest request;
  request.path = WithoutRoot(record, path);
  if (IsKeyword(itemType, elementKeyword)) {
    if (!request.path.empty()) request.path += '\\';
    request.path += itemName;
    if (request.path.empty()) throw std::invalid_argument("an element item without a name");
    request.text = RequireXmlText(value);
  }
  const bool setsAttribute = IsKeyword(itemType, attributeKeyword) && *itemName != '\0' && *value != '\0';
  if (setsAttribute) {
    request.attributeName = itemName;
    request.attributeValue = value;
    RequireXmlAttribute(request.attributeName, request.attributeValue);
  }
  RequireXmlPath(request.path);
  request.fileName.reset(ConvertToUnicode(record.fileName));
  if (request.fileName == nullptr) throw std::invalid_argument("the file's name can't be converted");
  return request;
}
