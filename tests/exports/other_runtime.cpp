// Compiled only: what a C++ compiler for Windows that has another runtime may call.
#include "tarvik/tarvik.h"

uint32_t Call(XmlFileList* list, uint32_t* cookie) {
#ifdef WITH_RECORDS
  std::vector<FileListEntry> files;
  return GetFileList(list, cookie, &files);
#else
  return OpenXML(list, "name", XmlOpenAtOnce, 0, cookie);
#endif
}
