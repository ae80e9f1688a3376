#include "platform/platform.h"
#include "registry/file_list.h"
#include "text/log.h"

namespace {

void LogNullList(const char* fileName, std::uint32_t cookie) noexcept {
  if (fileName != nullptr) {
    LogDetail(L"Failed to find ", fileName, L":  xml file list pointer is NULL.");
  } else {
    LogDetail(L"Failed to find ", cookie, L" (cookie): xml file list pointer is NULL.");
  }
}

void LogMiss(const char* fileName, std::uint32_t cookie) noexcept {
  if (fileName != nullptr) {
    LogDetail(L"Failed to find ", fileName, L" in the xml file list.");
  } else {
    LogDetail(L"Failed to find ", cookie, L" (cookie) in the xml file list.");
  }
}

bool Matches(const XmlFileRecord& record, const char* fileName, std::uint32_t cookie) {
  if (fileName == nullptr) return record.cookie == cookie;
  return platform::MbsCompareNoCase(record.fileName, fileName) == 0;
}

XmlFileRecord* Find(const XmlFileList* list, const char* fileName, std::uint32_t* cookie, std::uint32_t* index) {
  if (list == nullptr) {
    LogNullList(fileName, *cookie);
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
  LogMiss(fileName, *cookie);
  return nullptr;
}

} // namespace

XmlFileRecord* FindXmlFile(const XmlFileList* list, const char* fileName, std::uint32_t* cookie,
                           std::uint32_t* index) noexcept {
  const Trace trace(L"FindXmlFile");
  try {
    return Find(list, fileName, cookie, index);
  } catch (...) {
    LogDetail(L"Unknown exception thrown while searching an xml file in the file list.");
    return nullptr;
  }
}
