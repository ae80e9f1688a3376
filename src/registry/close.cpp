#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

std::uint32_t TARVIK_CALL CloseXML(XmlFileList* list, std::uint32_t cookie) {
  const Trace trace(L"CloseXML");
  std::uint32_t index = 0;
  if (FindXmlFile(list, nullptr, &cookie, &index) == nullptr) return XmlSuccess;

  XmlFileRecord* const record = RemoveXmlFileAt(list, index);
  LogDetail(L"Closing ", record->fileName, L" (", record->cookie, L")...");
  FreeXmlFile(record);
  return XmlSuccess;
}
