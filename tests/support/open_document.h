// A document in a file of its own, opened through the library. Link support/no_wait.cpp beside it.
#ifndef TARVIK_TESTS_SUPPORT_OPEN_DOCUMENT_H
#define TARVIK_TESTS_SUPPORT_OPEN_DOCUMENT_H

#include <stdexcept>
#include <string>
#include <string_view>

#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

class TestDocument {
 public:
  explicit TestDocument(std::string_view bytes, std::int32_t encrypted = 0) : encrypted(encrypted) {
    folder.Write(fileName, bytes);
    Reopen();
  }
  ~TestDocument() { EndXMLList(&list); }
  TestDocument(const TestDocument&) = delete;
  TestDocument& operator=(const TestDocument&) = delete;

  void Reopen() {
    EndXMLList(&list);
    InitXMLList(&list);
    const std::uint32_t code = OpenXML(list, Name().c_str(), 4, encrypted, &cookie);
    if (code != XmlSuccess) throw std::runtime_error("OpenXML gave " + std::to_string(code));
  }
  std::string Bytes() const { return folder.Read(fileName); }
  // As another program would.
  void Write(std::string_view bytes) const { folder.Write(fileName, bytes); }
  std::string Name() const { return folder.Name(fileName); }
  std::ptrdiff_t FilesInFolder() const { return folder.FileCount(); }

  // The ID of the group, or what stands in its place ("Not Found").
  std::string Group(const char* path, std::uint32_t occurrence = 1) const {
    char id[260] = "";
    EnumXMLGroup(list, cookie, path, occurrence, id, sizeof id);
    return id;
  }
  // The text of a child element, whole, or "Not Found".
  std::string Text(const char* path, const char* child) const { return Read(path, child, "ELEMENT", nullptr); }
  std::string Attribute(const char* path, const char* element, const char* name) const {
    return Read(path, element, "ATTRIBUTE", name);
  }
  std::uint32_t SetText(const char* path, const char* child, const std::string& value) const {
    return SetXMLItem(list, cookie, path, child, "ELEMENT", value.c_str());
  }
  std::uint32_t SetAttribute(const char* path, const char* name, const std::string& value) const {
    return SetXMLItem(list, cookie, path, name, "ATTRIBUTE", value.c_str());
  }
  // Saves the document as it stands in memory.
  std::uint32_t Save() const { return SetXMLItem(list, cookie, "", "", "", ""); }

  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;

 private:
  static constexpr const char* fileName = "document.xml";

  std::string Read(const char* path, const char* item, const char* type, const char* attribute) const {
    std::string value(1 << 22, '\0');
    GetXMLItem(list, cookie, path, item, type, attribute, type, value.data(), static_cast<std::uint32_t>(value.size()));
    return value.c_str();
  }

  TempFolder folder;
  std::int32_t encrypted;
};

#endif
