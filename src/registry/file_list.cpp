#include "registry/file_list.h"

#include <cstdlib>

#include "platform/platform.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

namespace {

// Logs that a search by name or by cookie failed.
void LogMiss(const char* fileName, std::uint32_t cookie, const wchar_t* nameEnding,
             const wchar_t* cookieEnding) noexcept {
  if (fileName != nullptr) {
    LogDetail(L"Failed to find ", fileName, nameEnding);
  } else {
    LogDetail(L"Failed to find ", cookie, cookieEnding);
  }
}

bool Matches(const XmlFileRecord& record, const char* fileName, std::uint32_t cookie) {
  if (fileName == nullptr) return record.cookie == cookie;
  return platform::MbsCompareNoCase(record.fileName, fileName) == 0;
}

} // namespace

int AllocXmlFileList(XmlFileList** list) noexcept {
  auto* const made = static_cast<XmlFileList*>(std::calloc(1, sizeof(XmlFileList)));
  if (made == nullptr) return 0;
  *list = made;
  return 1;
}

void FreeXmlFileList(XmlFileList** list) noexcept {
  std::free(*list);
  *list = nullptr;
}

int AppendXmlFile(XmlFileList* list, XmlFileRecord* record) noexcept {
  if (list == nullptr || record == nullptr) return 0;
  record->prev = list->tail;
  record->next = nullptr;
  (list->tail != nullptr ? list->tail->next : list->head) = record;
  list->tail = record;
  ++list->count;
  return 1;
}

XmlFileRecord* PopFirstXmlFile(XmlFileList* list) noexcept { return RemoveXmlFileAt(list, 0); }

std::uint32_t CountXmlFiles(const XmlFileList* list) noexcept {
  return list == nullptr ? 0 : list->count;
}

XmlFileRecord* XmlFileAt(const XmlFileList* list, std::uint32_t index) noexcept {
  if (index >= CountXmlFiles(list)) return nullptr;
  XmlFileRecord* record = list->head;
  for (std::uint32_t i = 0; i < index; ++i) record = record->next;
  return record;
}

XmlFileRecord* RemoveXmlFileAt(XmlFileList* list, std::uint32_t index) noexcept {
  XmlFileRecord* const record = XmlFileAt(list, index);
  if (record == nullptr) return nullptr;
  (record == list->head ? list->head : record->prev->next) = record->next;
  (record == list->tail ? list->tail : record->next->prev) = record->prev;
  record->prev = nullptr;
  record->next = nullptr;
  --list->count;
  return record;
}

XmlFileRecord* FindXmlFile(const XmlFileList* list, const char* fileName, std::uint32_t* cookie,
                           std::uint32_t* index) noexcept {
  const Trace trace(L"FindXmlFile");
  if (list == nullptr) {
    LogMiss(fileName, *cookie, L":  xml file list pointer is NULL.",
            L" (cookie): xml file list pointer is NULL.");
    return nullptr;
  }

  std::uint32_t position = 0;
  for (XmlFileRecord* record = list->head; record != nullptr; record = record->next, ++position) {
    if (!Matches(*record, fileName, *cookie)) continue;
    LogDetail(L"Found ", record->fileName, L" (", record->cookie, L") in the xml file list.");
    if (fileName != nullptr) *cookie = record->cookie;
    if (index != nullptr) *index = position;
    return record;
  }
  LogMiss(fileName, *cookie, L" in the xml file list.", L" (cookie) in the xml file list.");
  return nullptr;
}

// The map first, since its references point into the document.
void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept {
  const Trace trace(L"ReleaseGlobalMapMemory");
  delete record->elementMap;
  delete record->document;
  delete record->file;
  delete record->waitingSets;
}

void FreeXmlFile(XmlFileRecord* record) noexcept {
  const Trace trace(L"FreeXmlFile");
  ReleaseGlobalMapMemory(record);
  std::free(record);
}

std::uint32_t TARVIK_CALL InitXMLList(XmlFileList** list) {
  const Trace trace(L"InitXMLList");
  if (list == nullptr) {
    LogDetail(L"Failed to initialize the xml file list:  NULL file list pointer.");
    return XmlInvalidArgument;
  }
  if (AllocXmlFileList(list) == 0) {
    LogDetail(L"Failed to initialize the xml file list:  memory allocation failed.");
    return XmlOutOfMemory;
  }
  LogDetail(L"xml file list initialization successful.");
  return XmlSuccess;
}

std::uint32_t TARVIK_CALL EndXMLList(XmlFileList** list) {
  const Trace trace(L"EndXMLList");
  if (list == nullptr) {
    LogDetail(L"xml file list deinitialization successful:  NULL file list pointer.");
  } else {
    while (XmlFileRecord* const record = PopFirstXmlFile(*list)) {
      ReleaseGlobalMapMemory(record);
      std::free(record);
    }
    FreeXmlFileList(list);
  }
  LogDetail(L"xml file list deinitialization successful.");
  return XmlSuccess;
}
