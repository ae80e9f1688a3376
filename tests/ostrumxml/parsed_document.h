// A parsed document, read and changed by paths of element names, in UTF-8.
#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/parse.h"
#include "host/ostrumxml/utf8.h"

inline std::wstring Wide(std::string_view utf8) { return Ostrum::WideFromUtf8(utf8); }

// The value of an element or attribute, which must be the same by both of its ways.
inline std::string ValueOf(const Ostrum::Node& node) {
  std::string value;
  if (!Ostrum::Utf8FromWide(node.GetValue(), value)) throw std::runtime_error("invalid wide text");
  if (node.AsciiValue().value_or(value) != value) throw std::runtime_error("two values: " + value);
  return value;
}

struct Parsed {
  explicit Parsed(std::string source) {
    const std::size_t length = Ostrum::WideLengthOf(source).value();
    document.reset(Ostrum::ParseXML({std::move(source), length}, static_cast<int>(length), error, line, column));
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
  std::string Attribute(const char* path, const wchar_t* name) const {
    const Ostrum::Attribute attribute = At(path).GetAttribute(name);
    return attribute.IsNull() ? "(none)" : ValueOf(attribute);
  }
  std::string Generate() const { return document->GenerateXML(false).Utf8(); }

  std::unique_ptr<Ostrum::Document> document;
  Ostrum::PARSER_ERROR error{};
  int line = 0, column = 0;
};

#endif
