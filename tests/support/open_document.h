// A document in a temporary file, opened through the library.
#ifndef TARVIK_TESTS_SUPPORT_OPEN_DOCUMENT_H
#define TARVIK_TESTS_SUPPORT_OPEN_DOCUMENT_H

#include <algorithm>
#include <stdexcept>
#include <string>

#include "corekit/corekit.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

// What a call answers: its code and what it stores in a buffer, as "0 text", or "0 untouched". A
// byte changed after the stored text adds "!".
template <class Call>
std::string Answer(const std::string& before, Call call) {
  std::string buffer = before + '\0' + std::string(1000, '#');
  const std::string untouched = buffer;
  const std::string code = std::to_string(call(buffer.data())) + " ";
  if (buffer == untouched) return code + "untouched";
  const std::string stored = buffer.c_str();
  const std::size_t end = std::max(stored.size(), before.size()) + 1;
  return code + stored + (untouched.compare(end, end, buffer, end, end) == 0 ? "" : "!");
}

class TestDocument {
 public:
  // text: the file's content before encryption, if any.
  explicit TestDocument(const std::string& text, std::int32_t encrypted = 0)
      : encrypted(encrypted) {
    Write(text);
    const std::uint32_t code = Open();
    if (code != XmlSuccess) throw std::runtime_error("OpenXML gave " + std::to_string(code));
  }
  ~TestDocument() { EndXMLList(&list); }
  TestDocument(TestDocument&&) = delete;

  // Opens the file in a new list, which replaces the old one, and returns the code.
  std::uint32_t Open() {
    EndXMLList(&list);
    const std::uint32_t code = InitXMLList(&list);
    return code != XmlSuccess ? code
                              : OpenXML(list, name.c_str(), XmlOpenAtOnce, encrypted, &cookie);
  }

  const std::string& Name() const { return name; }
  std::ptrdiff_t FilesInFolder() const { return folder.FileCount(); }
  // The file's text, or why there is none.
  std::string Bytes() const {
    if (!std::filesystem::exists(name)) return "gone";
    std::string bytes = folder.Read(fileName);
    return encrypted == 0 || corekit::KCryptWrap::decrypt_data(bytes, bytes) ? bytes
                                                                             : "not encrypted";
  }
  // Writes the file as another program would, or would truncate it to nothing.
  void Write(std::string text) const {
    if (encrypted != 0 && !text.empty()) corekit::KCryptWrap::encrypt_data(text, text);
    folder.Write(fileName, text);
  }

  // The group's ID, or "Not Found".
  std::string Group(const char* path, std::uint32_t occurrence = 1) const {
    char id[260] = "";
    EnumXMLGroup(list, cookie, path, occurrence, id, sizeof id);
    return id;
  }
  std::uint32_t SetText(const char* path, const char* child, const std::string& value) const {
    return SetXMLItem(list, cookie, path, child, "ELEMENT", value.c_str());
  }
  std::uint32_t SetAttribute(const char* path, const char* attribute,
                             const std::string& value) const {
    return SetXMLItem(list, cookie, path, attribute, "ATTRIBUTE", value.c_str());
  }
  // Saves the document as it stands in memory.
  std::uint32_t Save() const { return SetXMLItem(list, cookie, "", "", "", ""); }

  const std::int32_t encrypted;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;

 private:
  static constexpr const char* fileName = "document.xml";

  TempFolder folder;
  std::string name = folder.Name(fileName);
};

#endif
