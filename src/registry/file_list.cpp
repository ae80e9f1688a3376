// The list of records. It is short, and new records stand last, so a search is a walk from the
// front; of two records with one cookie the older is meant.
#include "registry/record.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

#include "platform/platform.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

namespace {

// Logs a line if there is one. Null if there is none.
template <class Matches>
XmlFileRecord* FindFirst(XmlFileList& list, Matches matches) noexcept {
  const auto found = std::ranges::find_if(list.files, matches);
  if (found == list.files.end()) return nullptr;
  LogDetail(L"Found ", found->fileName, L" (", found->cookie, L") in the xml file list.");
  return &*found;
}

} // namespace

XmlFileRecord* FindXmlFile(XmlFileList* list, std::uint32_t cookie) noexcept {
  const Trace trace(L"FindXmlFile");
  if (list == nullptr) {
    LogDetail(L"Failed to find ", cookie, L" (cookie): xml file list pointer is NULL.");
    return nullptr;
  }
  XmlFileRecord* const found =
      FindFirst(*list, [cookie](const XmlFileRecord& record) { return record.cookie == cookie; });
  if (found == nullptr) LogDetail(L"Failed to find ", cookie, L" (cookie) in the xml file list.");
  return found;
}

XmlFileRecord* FindXmlFileByName(XmlFileList& list, const char* fileName) noexcept {
  const Trace trace(L"FindXmlFile");
  XmlFileRecord* const found = FindFirst(list, [fileName](const XmlFileRecord& record) {
    return platform::MbsEqualsNoCase(record.fileName, fileName);
  });
  if (found == nullptr) LogDetail(L"Failed to find ", fileName, L" in the xml file list.");
  return found;
}

void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept {
  assert(record != nullptr);
  const Trace trace(L"ReleaseGlobalMapMemory");
  // Its members are destroyed in reverse order: the map before the document that it refers to.
  const XmlFileRecord released(std::move(*record));
}

void FreeXmlFile(XmlFileRecord* record) noexcept {
  const Trace trace(L"FreeXmlFile");
  ReleaseGlobalMapMemory(record);
}

std::uint32_t TARVIK_CALL InitXMLList(XmlFileList** list) {
  const Trace trace(L"InitXMLList");
  if (list == nullptr) {
    LogDetail(L"Failed to initialize the xml file list:  NULL file list pointer.");
    return XmlInvalidArgument;
  }
  auto* const created = new (std::nothrow) XmlFileList;
  if (created == nullptr) {
    LogDetail(L"Failed to initialize the xml file list:  memory allocation failed.");
    return XmlOutOfMemory;
  }
  *list = created;
  LogDetail(L"xml file list initialization successful.");
  return XmlSuccess;
}

std::uint32_t TARVIK_CALL EndXMLList(XmlFileList** list) {
  const Trace trace(L"EndXMLList");
  if (list == nullptr) {
    LogDetail(L"xml file list deinitialization successful:  NULL file list pointer.");
  } else if (*list != nullptr) {
    for (XmlFileRecord& record : (*list)->files) ReleaseGlobalMapMemory(&record);
    delete std::exchange(*list, nullptr);
  }
  LogDetail(L"xml file list deinitialization successful.");
  return XmlSuccess;
}
