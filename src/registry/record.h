// An open document and the list that holds it: finding and releasing them.
#ifndef TARVIK_REGISTRY_RECORD_H
#define TARVIK_REGISTRY_RECORD_H

#include <cstdint>
#include <list>
#include <memory>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "paths/element_map.h"
#include "paths/path_search.h"

// Size in bytes of internal buffers for names and paths: at most 259 bytes of text and a
// terminating zero.
inline constexpr std::uint32_t bufferSize = 260;

struct XmlFileRecord {
  char fileName[bufferSize] = {}; // as given by the caller, truncated to 259 bytes; only for
                                  // matching and log lines
  std::uint32_t cookie = 0;
  std::unique_ptr<Ostrum::Document> document;
  std::unique_ptr<Ostrum::DocumentFile> file; // has the complete name
  // The sets that have not reached the file; null until the first.
  std::unique_ptr<Ostrum::PendingChanges> waitingSets;
  // Has at least the root's entry once the record is in a list.
  std::unique_ptr<ElementMap> elementMap;
  KnownParent knownParent;
};

// One caller's open documents, oldest first.
struct XmlFileList {
  std::list<XmlFileRecord> files;
};

// The first record with the cookie. Logs a detail line, and returns null if there is none or no
// list.
XmlFileRecord* FindXmlFile(XmlFileList* list, std::uint32_t cookie) noexcept;
// The same by file name, ignoring case.
XmlFileRecord* FindXmlFileByName(XmlFileList& list, const char* fileName) noexcept;

// Releases what a record owns, as a part of closing the list or of releasing one record.
void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept;
void FreeXmlFile(XmlFileRecord* record) noexcept;

#endif
