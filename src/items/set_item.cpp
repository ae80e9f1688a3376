// The exported function that sets an item and saves the document.
#include <new>

#include "items/path_steps.h"
#include "items/save.h"
#include "items/set_request.h"
#include "items/set_walk.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

namespace {

void Apply(const SetRequest& request, XmlFileRecord& record) {
  SetWalk walk(record, request.path.size() + request.attributeName.size() + request.attributeValue.size() + 2);
  PathSteps steps(request.path.c_str(), PathSteps::Cutting::Logged);
  PathStep step;
  while (steps.Next(step)) walk.Enter(step);
  if (!request.attributeName.empty()) walk.SetAttribute(request.attributeName, request.attributeValue);
  if (request.text) walk.SetText(*request.text);
}

} // namespace

std::uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                                     const char* itemType, const char* value) {
  const Trace trace(L"SetXMLItem");
  XmlFileRecord* record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) {
    LogError(L"Failed to get the xml representation for the xml with id ", cookie);
    return XmlNotFound;
  }
  if (record->document->GetRoot().IsNull()) return XmlInvalidArgument;
  try {
    const SetRequest request = CheckSetRequest(*record, path, itemName, itemType, value);
    Apply(request, *record);
    SaveDocument(*record, request.fileName.get());
    return XmlSuccess;
  } catch (const std::bad_alloc&) {
    LogError(L"Failed to allocate memory for tokens");
    return XmlOutOfMemory;
  } catch (...) {
    LogError(L"Unknown error while setting xml");
    return XmlFailure;
  }
}
