#ifndef TARVIK_ITEMS_ITEM_READER_H
#define TARVIK_ITEMS_ITEM_READER_H

#include <cstdint>

struct XmlFileList;

// What GetXMLItem and EnumXMLItem do.
std::uint32_t GenericGetItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                             const char* itemType, std::int32_t index, const char* attributeName, const char* valueType,
                             char* value, std::uint32_t capacity) noexcept;

#endif
