// The exported functions that open groups. The caller's buffer holds the parent's group ID on
// entry, the answer on return.
#include <cassert>
#include <charconv>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "host/ostrumxml/data/utf8.h"
#include "paths/element_map.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"
#include "text/caller_buffer.h"
#include "text/charset_scope.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// The parent's group ID, which the caller's buffer may hold on entry, the path, and an occurrence
// above 1; terminated.
std::string_view FormGroupId(std::string_view path, std::uint32_t occurrence,
                             std::string_view parent, char (&id)[bufferSize]) noexcept {
  char digits[12];
  const char* end = digits;
  if (occurrence > 1)
    end = std::to_chars(digits, std::end(digits), static_cast<int>(occurrence)).ptr;
  const std::string_view separator = parent.empty() ? "" : "\\";
  const int length = FormatToBuffer(id, bufferSize, {parent, separator, path, {digits, end}});
  if (length < 0) return {id, bufferSize - 1};
  return {id, static_cast<std::size_t>(length)};
}

// The element below which the group is. Logs and returns the null element if it is not in the map.
Element FindStart(const XmlFileRecord& record, const CallerBuffer& buffer) {
  assert(record.elementMap->Size() > 0); // the root's entry at least
  const char* const parentId = buffer.Text();
  if (*parentId != '\0') {
    const Element parent = record.elementMap->Find(parentId);
    if (parent.IsNull()) LogDetail(parentId, L" not found in ", record.fileName, L".");
    return parent;
  }
  const Element rootElement = record.document->GetRoot();
  const LocaleText rootName(rootElement.GetName());
  // No key is empty.
  const Element root = record.elementMap->Find(rootName.Text().value_or(""));
  if (root.IsNull()) {
    LogDetail(Ostrum::WideFromUtf8(rootElement.GetName()).c_str(), L" not found in ",
              record.fileName, L".");
  }
  return root;
}

// Logs and returns the null element if the document has no such element.
Element SearchDocument(XmlFileRecord& record, const char* path, std::uint32_t occurrence,
                       const CallerBuffer& buffer) {
  const Element start = FindStart(record, buffer);
  if (start.IsNull()) return {};
  try {
    const Element found = FindElementByPath(start, path, occurrence, record.knownParent);
    if (!found.IsNull()) return found;
  } catch (const std::exception&) { // logged; the group then counts as not found
  }
  LogDetail(path, L" not found in ", record.fileName, L".");
  return {};
}

std::uint32_t OpenGroup(XmlFileRecord& record, const char* groupPath, std::uint32_t occurrence,
                        const CallerBuffer& buffer) {
  char withoutRoot[bufferSize];
  const std::string_view path = PathBelowRoot(record, groupPath, withoutRoot);
  if (path.empty()) {
    LogDetail(L"Only the root was given as a group path.");
    buffer.Store(groupPath);
    return XmlSuccess;
  }

  char idText[bufferSize];
  const std::string_view id = FormGroupId(path, occurrence, buffer.Text(), idText);
  const bool isKnown = !record.elementMap->Find(id).IsNull();
  if (!isKnown) {
    const Element element = SearchDocument(record, path.data(), occurrence, buffer);
    if (element.IsNull()) {
      buffer.Store("Not Found");
      return XmlNotFound;
    }
    record.elementMap->Insert(id, element);
  }
  buffer.Store(id);
  if (!buffer.IsWanted()) return XmlSuccess;
  if (isKnown) {
    LogDetail(L"Found ", idText, L" in ", record.fileName, L".");
  } else {
    LogDetail(L"Inserted ", idText, L" into the element map.");
  }
  return XmlSuccess;
}

// What OpenXMLGroup and EnumXMLGroup do.
std::uint32_t GenericOpenGroup(const wchar_t* function, XmlFileList* list, std::uint32_t cookie,
                               const char* groupPath, std::uint32_t occurrence, char* groupId,
                               std::uint32_t capacity) noexcept {
  const CharsetScope charset;
  const Trace exported(function);
  const Trace trace(L"GenericOpenGroup");
  XmlFileRecord* const record = FindXmlFile(list, cookie);
  if (record == nullptr) return XmlNotFound;
  try {
    if (groupPath == nullptr || groupId == nullptr)
      throw std::invalid_argument("null group path or group ID");
    return OpenGroup(*record, groupPath, occurrence, CallerBuffer(groupId, capacity));
  } catch (...) {
    LogDetail(L"Unknown exception thrown while searching for the group name.");
    return XmlFailure;
  }
}

} // namespace

std::uint32_t TARVIK_CALL OpenXMLGroup(XmlFileList* list, std::uint32_t cookie,
                                       const char* groupPath, char* groupId,
                                       std::uint32_t capacity) {
  return GenericOpenGroup(L"OpenXMLGroup", list, cookie, groupPath, 1, groupId, capacity);
}

std::uint32_t TARVIK_CALL EnumXMLGroup(XmlFileList* list, std::uint32_t cookie,
                                       const char* groupPath, std::uint32_t occurrence,
                                       char* groupId, std::uint32_t capacity) {
  return GenericOpenGroup(L"EnumXMLGroup", list, cookie, groupPath, occurrence, groupId, capacity);
}
