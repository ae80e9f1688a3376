#include "paths/groups.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "host/ostrumxml/utf8.h"
#include "paths/element_map.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "platform/platform.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/convert.h"
#include "text/edge.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// The caller's buffer: the parent's group ID on entry, the answer on return.
struct GroupIdBuffer {
  char* text;
  std::uint32_t capacity;

  bool HoldsParent() const noexcept { return *text != '\0'; }
  void Set(const char* answer) const noexcept { FormatToBuffer(text, capacity, "%s", answer); }
};

void RemoveRoot(const XmlFileRecord& record, const char* groupPath, char (&path)[bufferSize]) {
  if (IsRootInPath(record, groupPath) == 1) {
    RemoveRootFromBeginningOfPath(groupPath, path, bufferSize);
  } else {
    platform::MbsCopyBytes(path, groupPath, bufferSize - 1);
    path[bufferSize - 1] = '\0';
  }
}

void FormGroupId(const char* path, std::uint32_t occurrence, const GroupIdBuffer& buffer,
                 char (&id)[bufferSize]) noexcept {
  if (occurrence > 1) {
    FormatToBuffer(id, bufferSize, "%s%d", path, static_cast<int>(occurrence));
  } else {
    FormatToBuffer(id, bufferSize, "%s", path);
  }
  if (!buffer.HoldsParent()) return;

  char ownPart[bufferSize];
  platform::MbsCopyBytes(ownPart, id, bufferSize - 1);
  ownPart[bufferSize - 1] = '\0';
  FormatToBuffer(id, bufferSize, "%s\\%s", buffer.text, ownPart);
}

// The element below which the group lies. Null, after a line, when it is not in the element map.
Element* FindStart(const XmlFileRecord& record, const GroupIdBuffer& buffer) {
  if (buffer.HoldsParent()) {
    Element* const parent = FindInElementMap(*record.elementMap, buffer.text);
    if (parent == nullptr) LogDetail(buffer.text, L" not found in ", record.fileName, L".");
    return parent;
  }
  const Element& rootElement = record.document->GetRoot();
  const LocaleText rootName(rootElement.GetName());
  Element* const root = rootName.Text() ? FindInElementMap(*record.elementMap, *rootName.Text()) : nullptr;
  if (root == nullptr) {
    LogDetail(Ostrum::WideFromUtf8(rootElement.GetName()).c_str(), L" not found in ", record.fileName, L".");
  }
  return root;
}

// Null, after a line, when the document holds no such element.
Element* SearchDocument(const XmlFileRecord& record, const char* path, std::uint32_t occurrence,
                        const GroupIdBuffer& buffer) {
  Element* const start = FindStart(record, buffer);
  if (start == nullptr) return nullptr;
  Element* const found = FindElementByPath(start, path, occurrence);
  if (!found->IsNull()) return found;
  LogDetail(path, L" not found in ", record.fileName, L".");
  return nullptr;
}

std::uint32_t OpenGroup(const XmlFileRecord& record, const char* groupPath, std::uint32_t occurrence,
                        const GroupIdBuffer& buffer) {
  char path[bufferSize];
  RemoveRoot(record, groupPath, path);
  if (*path == '\0') {
    LogDetail(L"Only the root was given as a group path.");
    buffer.Set(groupPath);
    return XmlSuccess;
  }

  char idText[bufferSize];
  FormGroupId(path, occurrence, buffer, idText);
  const std::string_view id(idText);
  const ElementMap::Place place = record.elementMap->Search(id);
  if (place.element != nullptr) {
    buffer.Set(idText);
    if (buffer.capacity != 0) LogDetail(L"Found ", idText, L" in ", record.fileName, L".");
    return XmlSuccess;
  }

  Element* const element = SearchDocument(record, path, occurrence, buffer);
  if (element == nullptr) {
    buffer.Set("Not Found");
    return XmlNotFound;
  }
  record.elementMap->Insert(place, id, *element);
  buffer.Set(idText);
  if (buffer.capacity != 0) LogDetail(L"Inserted ", idText, L" into the element map.");
  return XmlSuccess;
}

} // namespace

std::uint32_t GenericOpenGroup(XmlFileList* list, std::uint32_t cookie, const char* groupPath, std::uint32_t occurrence,
                               char* groupId, std::uint32_t capacity) noexcept {
  const Trace trace(L"GenericOpenGroup");
  const XmlFileRecord* const record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) return XmlNotFound;
  try {
    if (groupPath == nullptr || groupId == nullptr) throw std::invalid_argument("null group path or group ID");
    return OpenGroup(*record, groupPath, occurrence, {groupId, capacity});
  } catch (...) {
    LogDetail(L"Unknown exception thrown while searching for the group name.");
    return XmlFailure;
  }
}

std::uint32_t TARVIK_CALL OpenXMLGroup(XmlFileList* list, std::uint32_t cookie, const char* groupPath, char* groupId,
                                       std::uint32_t capacity) {
  const Trace trace(L"OpenXMLGroup");
  return GenericOpenGroup(list, cookie, groupPath, 1, groupId, capacity);
}

std::uint32_t TARVIK_CALL EnumXMLGroup(XmlFileList* list, std::uint32_t cookie, const char* groupPath,
                                       std::uint32_t occurrence, char* groupId, std::uint32_t capacity) {
  const Trace trace(L"EnumXMLGroup");
  return GenericOpenGroup(list, cookie, groupPath, occurrence, groupId, capacity);
}
