#ifndef TARVIK_PATHS_GROUPS_H
#define TARVIK_PATHS_GROUPS_H

#include <cstdint>

struct XmlFileList;

// What OpenXMLGroup and EnumXMLGroup do.
std::uint32_t GenericOpenGroup(XmlFileList* list, std::uint32_t cookie, const char* groupPath, std::uint32_t occurrence,
                               char* groupId, std::uint32_t capacity) noexcept;

#endif
