// How the queries reach an open document: by the exported functions, as any caller would, with
// buffers of fixed size.
#ifndef TARVIK_QUERIES_OPEN_DOCUMENT_H
#define TARVIK_QUERIES_OPEN_DOCUMENT_H

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "registry/record.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"

// A value or a group ID: at most 259 bytes and a terminating zero. Starts empty; bytes after
// the zero are not cleared.
class QueryText {
 public:
  static constexpr std::uint32_t size = 260;

  QueryText() noexcept { Clear(); }

  void Clear() noexcept { text[0] = '\0'; }
  char* Buffer() noexcept { return text; }
  const char* Text() const noexcept { return text; }
  bool operator==(const QueryText& other) const noexcept {
    return std::strcmp(text, other.text) == 0;
  }

 private:
  char text[size];
};

// What a read asks for in the element of a group.
struct QueryItem {
  const char* name;
  const char* type;
  const char* attribute; // null for the text of a child element
};

constexpr QueryItem TextOf(const char* child) { return {child, "ELEMENT", nullptr}; }
// The attribute of the group's own element, whose name is given too.
constexpr QueryItem AttributeOf(const char* element, const char* attribute) {
  return {element, "ATTRIBUTE", attribute};
}

// Every function gives the code of the one exported function that it calls.
class OpenDocument {
 public:
  OpenDocument(XmlFileList* list, std::uint32_t cookie) noexcept
      : list(list), cookie(cookie), record(FindRecord(list, cookie)) {}

  // The group below a parent, "" for none; group receives its ID.
  std::uint32_t OpenGroup(const char* path, const char* parent, QueryText& group) const {
    SetParent(parent, group);
    const std::uint32_t code = OpenXMLGroup(list, cookie, path, group.Buffer(), QueryText::size);
    return NotFoundIfRoot(code, path, group);
  }
  std::uint32_t EnumGroup(const char* path, std::uint32_t occurrence, const char* parent,
                          QueryText& group) const {
    SetParent(parent, group);
    const std::uint32_t code =
        EnumXMLGroup(list, cookie, path, occurrence, group.Buffer(), QueryText::size);
    return NotFoundIfRoot(code, path, group);
  }
  std::uint32_t Read(const char* group, const QueryItem& item, QueryText& value) const {
    return GetXMLItem(list, cookie, group, item.name, item.type, item.attribute, item.type,
                      value.Buffer(), QueryText::size);
  }
  std::uint32_t ReadNth(const char* group, const QueryItem& item, std::int32_t index,
                        QueryText& value) const {
    return EnumXMLItem(list, cookie, group, item.name, item.type, index, item.attribute, item.type,
                       value.Buffer(), QueryText::size);
  }

 private:
  // An answer that is the root itself counts as not found, since it is the same for every
  // occurrence, and a loop over occurrences would never end. Two searches end so: one for a path
  // of one name that begins with the root's, and one in a root without children whose own name
  // begins with the path.
  std::uint32_t NotFoundIfRoot(std::uint32_t code, std::string_view path,
                               const QueryText& group) const {
    if (code != XmlSuccess) return code;
    const Ostrum::Element root = record->document->GetRoot();
    const bool namesRootAlone =
        path.starts_with(root.GetName()) && path.find('\\') == std::string_view::npos;
    const bool isRoot = namesRootAlone || record->elementMap->Find(group.Text()) == root;
    if (isRoot) return XmlNotFound;
    return code;
  }
  static const XmlFileRecord* FindRecord(const XmlFileList* list, std::uint32_t cookie) noexcept {
    if (list == nullptr) return nullptr;
    const auto found = std::ranges::find(list->files, cookie, &XmlFileRecord::cookie);
    if (found == list->files.end()) return nullptr;
    return &*found;
  }
  static void SetParent(const char* parent, QueryText& group) noexcept {
    assert(std::strlen(parent) < QueryText::size); // a group's ID, read into such a buffer
    std::memcpy(group.Buffer(), parent, std::strlen(parent) + 1);
  }

  const CharsetScope charset; // for all of the calls
  XmlFileList* list;
  std::uint32_t cookie;
  const XmlFileRecord* record; // null if there is none with the cookie: all calls then fail
};

#endif
