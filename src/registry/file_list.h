// The list of open records: finding and releasing them.
#ifndef TARVIK_REGISTRY_FILE_LIST_H
#define TARVIK_REGISTRY_FILE_LIST_H

#include <cstdint>

#include "registry/record.h"

// The first record with the cookie. Logs a detail line, and returns null if there is none or no
// list.
XmlFileRecord* FindXmlFile(XmlFileList* list, std::uint32_t cookie) noexcept;
// The same by file name, ignoring case.
XmlFileRecord* FindXmlFileByName(XmlFileList& list, const char* fileName) noexcept;

// Releases what a record owns, as a part of closing the list or of releasing one record.
void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept;
void FreeXmlFile(XmlFileRecord* record) noexcept;

#endif
