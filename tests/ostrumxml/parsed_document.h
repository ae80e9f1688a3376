#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/parse.h"
#include "host/ostrumxml/utf8.h"

inline std::wstring Wide(std::string_view utf8) { return Ostrum::WideFromUtf8(utf8); }

inline std::string Narrow(const std::wstring& wide) {
  std::string utf8;
  if (!Ostrum::Utf8FromWide(wide, utf8)) throw std::runtime_error("invalid wide text");
  return utf8;
}

// The value, which must be the same by both of its ways.
inline std::string ValueOf(const Ostrum::Node& node) {
  const std::string value = Narrow(node.GetValue());
  if (node.AsciiValue().value_or(value) != value) throw std::runtime_error("two values: " + value);
  return value;
}

struct Parsed {
  explicit Parsed(std::string source) {
    const std::size_t length = Ostrum::WideLengthOf(source).value();
    document.reset(Ostrum::ParseXML({std::move(source), length}, static_cast<int>(length), error, line, column));
  }
  explicit operator bool() const { return document != nullptr; }

  // The element reached by going to the first child of each name, or the null element.
  Ostrum::Element& At(std::string_view path) const {
    Ostrum::Element* element = &document->GetRoot();
    while (!path.empty()) {
      const std::string_view name = path.substr(0, path.find('/'));
      path.remove_prefix(name.size() == path.size() ? name.size() : name.size() + 1);
      Ostrum::Element* found = &Ostrum::Element::null;
      for (auto child = element->Begin(); !(child == element->End()) && found->IsNull(); ++child) {
        if (Narrow(child->GetName()) == name) found = &*child;
      }
      element = found;
    }
    return *element;
  }
  std::string Text(std::string_view path) const { return ValueOf(At(path)); }
  std::string AttributeOf(std::string_view path, std::string_view name) const {
    const Ostrum::Attribute attribute = At(path).GetAttribute(Wide(name).c_str());
    return attribute.IsNull() ? "(none)" : ValueOf(attribute);
  }
  std::string Generate() const { return document->GenerateXML(false).Utf8(); }

  std::unique_ptr<Ostrum::Document> document;
  Ostrum::PARSER_ERROR error{};
  int line = 0;
  int column = 0;
};

#endif
