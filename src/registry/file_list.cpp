#include "registry/file_list.h"

#include <cstdlib>

namespace {

void Unlink(XmlFileList& list, XmlFileRecord& record) noexcept {
  (record.prev != nullptr ? record.prev->next : list.head) = record.next;
  (record.next != nullptr ? record.next->prev : list.tail) = record.prev;
  record.prev = nullptr;
  record.next = nullptr;
  --list.count;
}

} // namespace

int AllocXmlFileList(XmlFileList** list) noexcept {
  auto* const made = static_cast<XmlFileList*>(std::calloc(1, sizeof(XmlFileList)));
  if (made == nullptr) return 0;
  *list = made;
  return 1;
}

void FreeXmlFileList(XmlFileList** list) noexcept {
  std::free(*list);
  *list = nullptr;
}

int AppendXmlFile(XmlFileList* list, XmlFileRecord* record) noexcept {
  if (list == nullptr || record == nullptr) return 0;
  record->prev = list->tail;
  record->next = nullptr;
  (list->tail != nullptr ? list->tail->next : list->head) = record;
  list->tail = record;
  ++list->count;
  return 1;
}

XmlFileRecord* PopFirstXmlFile(XmlFileList* list) noexcept { return RemoveXmlFileAt(list, 0); }

std::uint32_t CountXmlFiles(const XmlFileList* list) noexcept { return list == nullptr ? 0 : list->count; }

XmlFileRecord* XmlFileAt(const XmlFileList* list, std::uint32_t index) noexcept {
  if (index >= CountXmlFiles(list)) return nullptr;
  XmlFileRecord* record = list->head;
  for (std::uint32_t i = 0; i < index; ++i) record = record->next;
  return record;
}

XmlFileRecord* RemoveXmlFileAt(XmlFileList* list, std::uint32_t index) noexcept {
  XmlFileRecord* const record = XmlFileAt(list, index);
  if (record != nullptr) Unlink(*list, *record);
  return record;
}
