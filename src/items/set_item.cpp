// The exported function that sets an item and saves the document.
#include <memory>
#include <new>

#include "host/ostrumxml/file.h"
#include "items/set_request.h"
#include "items/set_walk.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

namespace {

// What is changed is the document first, which refuses the whole request or nothing of it, and then the file.
void SetAndSave(const std::shared_ptr<const SetRequest>& request, XmlFileRecord& record) try {
  const SetWalk walk(*request, *record.document, FindLogged);
  record.file->Await({request->target, [request](Ostrum::Document& other) {
                        SetWalk(*request, other, FindSilently).CarryOut(nullptr);
                      }});
  ElementMap::KeyChain key(*record.elementMap, request->longestKey);
  walk.CarryOut(&key);
  record.file->Save(*record.document);
} catch (const std::bad_alloc&) {
  throw;
} catch (const std::exception& failure) {
  // Callers learn the code alone.
  corekit::logDetail(L"ostrumxml", corekit::KString(failure.what()));
  throw;
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
    const auto request = std::make_shared<const SetRequest>(ParseSetRequest(*record, path, itemName, itemType, value));
    SetAndSave(request, *record);
    return XmlSuccess;
  } catch (const std::bad_alloc&) {
    LogError(L"Failed to allocate memory for tokens");
    return XmlOutOfMemory;
  } catch (...) {
    LogError(L"Unknown error while setting xml");
    return XmlFailure;
  }
}
