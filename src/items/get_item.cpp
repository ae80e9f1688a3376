// The exported functions that read items.
#include "items/item_reader.h"
#include "tarvik/tarvik.h"
#include "text/log.h"

std::uint32_t TARVIK_CALL GetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                                     const char* itemType, const char* attributeName, const char* valueType,
                                     char* value, std::uint32_t capacity) {
  const Trace trace(L"GetXMLItem");
  return GenericGetItem(list, cookie, path, itemName, itemType, 1, attributeName, valueType, value, capacity);
}

std::uint32_t TARVIK_CALL EnumXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                                      const char* itemType, std::int32_t index, const char* attributeName,
                                      const char* valueType, char* value, std::uint32_t capacity) {
  const Trace trace(L"EnumXMLItem");
  return GenericGetItem(list, cookie, path, itemName, itemType, index, attributeName, valueType, value, capacity);
}
