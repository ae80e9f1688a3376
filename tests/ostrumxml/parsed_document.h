// A document parsed from bytes, and descriptions of its content by the library and by Expat alone.
#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/expat/expat_parser.h"
#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/read/read_failure.h"

struct Parsed {
  explicit Parsed(std::string bytes) {
    Ostrum::UTF_ENCODINGS encoding{};
    int line = 0, column = 0;
    try {
      source = Ostrum::DecodeFile(std::move(bytes), encoding);
      const auto size = static_cast<int>(source.size());
      document.reset(Ostrum::ParseXML(source, size, error, line, column));
    } catch (const Ostrum::ReadFailure& failure) {
      refusal = failure.what();
    }
  }

  // The element reached by taking the first child of each name, or the null element.
  Ostrum::Element At(const std::filesystem::path& path) const {
    Ostrum::Element element = document->GetRoot();
    for (const auto& name : path)
      element = element.NthChild(Ostrum::NameMatch::Exact, name.string(), 1);
    return element;
  }
  std::string Generate() const { return document->GenerateXML(false); }

  std::string refusal; // why the bytes are no text; empty if they are
  std::string source;
  Ostrum::PARSER_ERROR error{};
  std::unique_ptr<Ostrum::Document> document; // null if the text was rejected
};

// The whole value, or which of its beginnings reads differently.
inline std::string ValueOf(const Ostrum::Value& read) {
  const std::string value = read.GetValue();
  std::string scratch;
  for (std::size_t limit = 0; limit <= std::min<std::size_t>(value.size(), 20); ++limit) {
    if (read.GetValue(scratch, limit).substr(0, limit) != value.substr(0, limit))
      return value + " begins differently in " + std::to_string(limit) + " bytes";
  }
  return value;
}

// The element and all elements in it, each with name, attributes and text. Recursive, so not for
// deep nesting.
inline std::string Describe(const Ostrum::Element& element) {
  std::string text(element.GetName());
  for (const std::string_view name : element.AttributeNames())
    text.append(" ").append(name).append("=").append(ValueOf(element.GetAttribute(name)));
  text += '>';
  for (auto child = element.FirstChild(); !child.IsNull(); child = child.NextSibling())
    text += Describe(child);
  return text + "</>" + ValueOf(element.Text());
}

// What Describe says, for what Expat reports about the text; empty if it rejects the text.
inline std::string DescribeByExpat(const std::string& source) {
  using Texts = std::vector<std::string>;
  Texts texts(1); // the description, then the texts of the open elements
  Ostrum::ExpatParser parser;
  XML_SetParamEntityParsing(parser.Get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
  XML_SetUserData(parser.Get(), &texts);
  const auto start = [](void* self, const char* name, const char** attributes) {
    std::string& text = static_cast<Texts*>(self)->front().append(name);
    for (; *attributes != nullptr; attributes += 2)
      text.append(" ").append(attributes[0]).append("=").append(attributes[1]);
    text += '>';
    static_cast<Texts*>(self)->emplace_back();
  };
  const auto end = [](void* self, const char*) {
    Texts& all = *static_cast<Texts*>(self);
    all.front() += "</>" + all.back();
    all.pop_back();
  };
  XML_SetElementHandler(parser.Get(), start, end);
  XML_SetCharacterDataHandler(parser.Get(), [](void* self, const char* text, int size) {
    static_cast<Texts*>(self)->back().append(text, static_cast<std::size_t>(size));
  });
  return parser.Feed(source, true) == XML_STATUS_OK ? texts.front() : "";
}

#endif
