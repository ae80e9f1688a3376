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
struct QueryText {
  static constexpr std::uint32_t size = 260;

  QueryText() noexcept { text[0] = '\0'; }

  char text[size];
};

// What a read asks for in the element of a group.
struct QueryItem {
  const char* name;                // of a child, or of the element itself
  const char* attribute = nullptr; // of the element itself; null for the text of the child

  const char* Type() const noexcept {
    if (attribute == nullptr) return "ELEMENT";
    return "ATTRIBUTE";
  }
};

// Every function calls one exported function, and gives whether that succeeded.
class OpenDocument {
 public:
  OpenDocument(XmlFileList* list, std::uint32_t cookie) noexcept : list(list), cookie(cookie) {}

  // The code of the last call.
  std::uint32_t Code() const noexcept { return code; }

  // The group below a parent, "" for none; group receives its ID.
  bool OpenGroup(const char* path, const char* parent, QueryText& group) {
    SetParent(parent, group);
    code = OpenXMLGroup(list, cookie, path, group.text, QueryText::size);
    return IsBelowRoot(path, group);
  }
  bool EnumGroup(const char* path, std::uint32_t occurrence, const char* parent, QueryText& group) {
    SetParent(parent, group);
    code = EnumXMLGroup(list, cookie, path, occurrence, group.text, QueryText::size);
    return IsBelowRoot(path, group);
  }
  // The value is empty if the read fails without storing a text.
  bool Read(const char* group, const QueryItem& item, QueryText& value) {
    value.text[0] = '\0';
    code = GetXMLItem(list, cookie, group, item.name, item.Type(), item.attribute, item.Type(),
                      value.text, QueryText::size);
    return code == XmlSuccess;
  }
  // The text of the n-th child of that name.
  bool ReadNth(const char* group, const char* child, std::uint32_t n, QueryText& value) {
    code = EnumXMLItem(list, cookie, group, child, "ELEMENT", static_cast<std::int32_t>(n), nullptr,
                       "ELEMENT", value.text, QueryText::size);
    return code == XmlSuccess;
  }

 private:
  // An answer that is the root itself counts as not found, since it is the same for every
  // occurrence, and a loop over occurrences would never end. Two searches end so: one for a path
  // of one name that begins with the root's, and one in a root without children whose own name
  // begins with the path.
  bool IsBelowRoot(std::string_view path, const QueryText& group) {
    if (code != XmlSuccess) return false;
    const auto record = std::ranges::find(list->files, cookie, &XmlFileRecord::cookie);
    const Ostrum::Element root = record->document->GetRoot();
    const bool namesRootAlone =
        path.starts_with(root.GetName()) && path.find('\\') == std::string_view::npos;
    if (namesRootAlone || record->elementMap->Find(group.text) == root) code = XmlNotFound;
    return code == XmlSuccess;
  }
  static void SetParent(const char* parent, QueryText& group) noexcept {
    assert(std::strlen(parent) < QueryText::size); // a group's ID, read into such a buffer
    std::memcpy(group.text, parent, std::strlen(parent) + 1);
  }

  const CharsetScope charset; // for all of the calls
  XmlFileList* list;
  std::uint32_t cookie;
  std::uint32_t code = XmlSuccess;
};

#endif
