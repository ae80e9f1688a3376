#include <cstdlib>

#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

namespace {

std::uint32_t Init(XmlFileList** list) {
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

void FreeAll(XmlFileList** list) {
  while (XmlFileRecord* const record = PopFirstXmlFile(*list)) {
    ReleaseGlobalMapMemory(record);
    std::free(record);
  }
  FreeXmlFileList(list);
}

} // namespace

std::uint32_t TARVIK_CALL InitXMLList(XmlFileList** list) {
  const Trace trace(L"InitXMLList");
  try {
    return Init(list);
  } catch (...) {
    LogDetail(L"Failed to initialize the xml file list:  unknown exception thrown during initialization.");
    return XmlFailure;
  }
}

std::uint32_t TARVIK_CALL EndXMLList(XmlFileList** list) {
  const Trace trace(L"EndXMLList");
  try {
    if (list == nullptr) {
      LogDetail(L"xml file list deinitialization successful:  NULL file list pointer.");
    } else {
      FreeAll(list);
    }
  } catch (...) {
    LogDetail(L"Failed to deinitialize the xml file list:  unknown exception thrown during deinitialization.");
    return XmlFailure;
  }
  LogDetail(L"xml file list deinitialization successful.");
  return XmlSuccess;
}
