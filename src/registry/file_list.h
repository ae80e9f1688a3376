// The list of open records: adding, finding and releasing them.
#ifndef TARVIK_REGISTRY_FILE_LIST_H
#define TARVIK_REGISTRY_FILE_LIST_H

#include <cstdint>

#include "registry/record.h"

// List primitives. With a null list or record they do nothing and return 0 or null.
int AllocXmlFileList(XmlFileList** list) noexcept;                    // 1, or 0 when out of memory
void FreeXmlFileList(XmlFileList** list) noexcept;                    // sets *list to null
int AppendXmlFile(XmlFileList* list, XmlFileRecord* record) noexcept; // 1, or 0
XmlFileRecord* PopFirstXmlFile(XmlFileList* list) noexcept; // unlinked; the caller owns it
std::uint32_t CountXmlFiles(const XmlFileList* list) noexcept;
XmlFileRecord* XmlFileAt(const XmlFileList* list, std::uint32_t index) noexcept; // index from 0
XmlFileRecord* RemoveXmlFileAt(XmlFileList* list,
                               std::uint32_t index) noexcept; // unlinked; the caller owns it

// Finds a record by file name, ignoring case, and stores its cookie in *cookie; if fileName is
// null, finds it by *cookie. Stores the record's position, from 0, in *index if given. If there is
// none, logs a detail line and returns null.
XmlFileRecord* FindXmlFile(const XmlFileList* list, const char* fileName, std::uint32_t* cookie,
                           std::uint32_t* index) noexcept;

// Releases a record that is not in a list, and what it owns.
void FreeXmlFile(XmlFileRecord* record) noexcept;

// Releases what a record owns.
void ReleaseGlobalMapMemory(XmlFileRecord* record) noexcept;

#endif
