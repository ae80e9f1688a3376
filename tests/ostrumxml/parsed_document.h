// A document read from a file of these bytes, with its elements by paths of names.
#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <memory>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "support/temp_folder.h"

struct Parsed {
  explicit Parsed(std::string_view bytes) {
    const TempFolder folder;
    const std::filesystem::path file(folder.Write("f.xml", bytes));
    auto encoding = Ostrum::UTF_8;
    unsigned long byteCount = 0;
    std::string text;
    result = Ostrum::DocumentFile(file, nullptr, nullptr).ReadBufferFromFileNoExp(text, encoding, byteCount);
    const auto length = static_cast<int>(text.size());
    if (result == Ostrum::ReadDone) document.reset(Ostrum::ParseXML(std::move(text), length, error, line, column));
  }

  // The element reached by going to the first child of each name, or the null element.
  Ostrum::Element& At(const std::filesystem::path& path) const {
    Ostrum::Element* element = &document->GetRoot();
    for (const auto& name : path) {
      auto child = element->Begin();
      while (!(child == element->End()) && child->GetName() != name.string()) ++child;
      if (child == element->End()) return Ostrum::Element::null;
      element = &*child;
    }
    return *element;
  }
  std::string Text(const char* path) const { return At(path).GetValue(); }
  std::string Attribute(const char* name) const { // of the root
    const Ostrum::Attribute attribute = At("").GetAttribute(name);
    return attribute.IsNull() ? "(none)" : attribute.GetValue();
  }
  std::string Generate() const { return document->GenerateXML(false); }

  long result;
  std::unique_ptr<Ostrum::Document> document;
  Ostrum::PARSER_ERROR error{};
  int line = 0, column = 0;
};

#endif
