#include <cstdlib>

#include "registry/file_list.h"
#include "text/log.h"

void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept {
  const Trace trace(L"ReleaseGlobalMapMemory");
  try {
    delete record->elementMap;
    delete record->document; // after the map, whose references lead into it
    delete record->file;
  } catch (...) {
    LogDetail(L"Unknown exception thrown while releasing memory from the map.");
  }
}

void FreeXmlFile(XmlFileRecord* record) noexcept {
  const Trace trace(L"FreeXmlFile");
  try {
    ReleaseGlobalMapMemory(record);
    std::free(record);
  } catch (...) {
    LogDetail(L"Unknown exception thrown while removing a file from the xml file list.");
  }
}
