// A document read from a file of these bytes, with its elements by paths of names.
#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <memory>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "host/ostrumxml/utf8.h"
#include "support/temp_folder.h"

// The value of an element or attribute in UTF-8, which must be the same by both of its ways.
inline std::string ValueOf(const Ostrum::Node& node) {
  std::string value;
  if (!Ostrum::Utf8FromWide(node.GetValue(), value)) throw std::runtime_error("invalid wide text");
  if (node.AsciiValue().value_or(value) != value) throw std::runtime_error("two values: " + value);
  return value;
}

struct Parsed {
  explicit Parsed(std::string_view bytes) {
    const TempFolder folder;
    const std::filesystem::path file(folder.Write("f.xml", bytes));
    auto encoding = Ostrum::UTF_8;
    unsigned long byteCount = 0;
    Ostrum::DocumentText text;
    result = Ostrum::ReadBufferFromFileNoExp(file.wstring().c_str(), text, encoding, byteCount, nullptr);
    const auto length = static_cast<int>(text.Length());
    if (result == Ostrum::ReadDone) document.reset(Ostrum::ParseXML(std::move(text), length, error, line, column));
  }

  // The element reached by going to the first child of each name, or the null element.
  Ostrum::Element& At(const std::filesystem::path& path) const {
    Ostrum::Element* element = &document->GetRoot();
    for (const auto& name : path) {
      auto child = element->Begin();
      while (!(child == element->End()) && child->GetName() != name.wstring()) ++child;
      if (child == element->End()) return Ostrum::Element::null;
      element = &*child;
    }
    return *element;
  }
  std::string Text(const char* path) const { return ValueOf(At(path)); }
  std::string Attribute(const wchar_t* name) const { // of the root
    const Ostrum::Attribute attribute = At("").GetAttribute(name);
    return attribute.IsNull() ? "(none)" : ValueOf(attribute);
  }
  std::string Generate() const { return document->GenerateXML(false).Utf8(); }

  long result;
  std::unique_ptr<Ostrum::Document> document;
  Ostrum::PARSER_ERROR error{};
  int line = 0, column = 0;
};

#endif
