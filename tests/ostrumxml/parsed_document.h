// A document parsed from bytes, and descriptions of its content by the library and by Expat alone.
#ifndef TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H
#define TARVIK_TESTS_OSTRUMXML_PARSED_DOCUMENT_H

#include <expat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/read/decode.h"

struct Parsed {
  explicit Parsed(std::string bytes) {
    isText = !Ostrum::DecodeFile(std::move(bytes), source, encoding);
    int line = 0, column = 0;
    if (isText)
      document.reset(
          Ostrum::ParseXML(source, static_cast<int>(source.size()), error, line, column));
  }

  // The element reached by taking the first child of each name, or the null element.
  Ostrum::Element At(const std::filesystem::path& path) const {
    Ostrum::Element element = document->GetRoot();
    for (const auto& name : path)
      element = element.NthChild(Ostrum::NameMatch::Exact, name.string(), 1);
    return element;
  }
  std::string Generate() const { return document->GenerateXML(false); }

  bool isText;
  std::string source;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
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

// The element and all elements in it, each with name, text and the attribute "a". Recursive, so not
// for deep nesting.
inline std::string Describe(const Ostrum::Element& element) {
  const Ostrum::Value attribute = element.GetAttribute("a");
  std::string text = "<" + std::string(element.GetName()) + (attribute.IsNull() ? "" : " a=") +
                     ValueOf(attribute) + ">";
  for (auto child = element.FirstChild(); !child.IsNull(); child = child.NextSibling())
    text += Describe(child);
  return text + "</>" + ValueOf(element.Text());
}

// The same for what Expat reports about the text; empty if it rejects the text.
inline std::string DescribeByExpat(const std::string& source) {
  struct Description {
    std::string text;
    std::vector<std::string> open; // the texts of the open elements
  } description;
  const XML_Parser parser = XML_ParserCreate("UTF-8");
  XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
  XML_SetUserData(parser, &description);
  XML_SetElementHandler(
      parser,
      [](void* self, const char* name, const char** attributes) {
        auto& [text, open] = *static_cast<Description*>(self);
        while (*attributes != nullptr && std::string_view(*attributes) != "a") attributes += 2;
        text += "<" + std::string(name) +
                (*attributes != nullptr ? std::string(" a=") + attributes[1] : "") + ">";
        open.emplace_back();
      },
      [](void* self, const char*) {
        auto& [text, open] = *static_cast<Description*>(self);
        text += "</>" + open.back();
        open.pop_back();
      });
  XML_SetCharacterDataHandler(parser, [](void* self, const char* text, int size) {
    static_cast<Description*>(self)->open.back().append(text, static_cast<std::size_t>(size));
  });
  const bool parsed =
      XML_Parse(parser, source.data(), static_cast<int>(source.size()), XML_TRUE) == XML_STATUS_OK;
  XML_ParserFree(parser);
  return parsed ? description.text : "";
}

#endif
