// Any bytes as a file: what opens must be walked, set, saved and read again as the same.
#include <expat.h>

#include <clocale>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "harness.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "tarvik/tarvik.h"

namespace {

using Ostrum::Element;

// What Expat alone reports of a text, in the form of Tree::Describe; empty where it refuses the text.
std::string DescribeByExpat(const std::string& source) {
  struct Description {
    std::string text;
    std::vector<std::string> open; // the texts of the elements that are open
  } description;
  const XML_Parser parser = XML_ParserCreate("UTF-8");
  XML_SetUserData(parser, &description);
  XML_SetElementHandler(
      parser,
      [](void* self, const char* name, const char** attributes) {
        auto& [text, open] = *static_cast<Description*>(self);
        text += std::string("<") + name;
        while (*attributes != nullptr && std::string_view(*attributes) != "a") attributes += 2;
        text += *attributes != nullptr ? std::string(" a=") + attributes[1] + ">" : ">";
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
  const bool parsed = XML_Parse(parser, source.data(), static_cast<int>(source.size()), XML_TRUE) == XML_STATUS_OK;
  XML_ParserFree(parser);
  return parsed ? description.text : "";
}

// What the file holds now, as far as it can be read.
struct Tree {
  Tree() {
    unsigned long byteCount = 0;
    Ostrum::PARSER_ERROR error{};
    int line = 0, column = 0;
    Ostrum::DocumentFile file("f", nullptr, nullptr);
    if (file.ReadBufferFromFileNoExp(source, encoding, byteCount) != Ostrum::ReadDone) return;
    document.reset(Ostrum::ParseXML(source, static_cast<int>(source.size()), error, line, column));
    const std::string expected = DescribeByExpat(source);
    if (document == nullptr) {
      REQUIRE(expected.empty() || error >= Ostrum::TOO_MANY_ENTITIES);
    } else {
      REQUIRE(document->GenerateXML(false) == source && Describe() == expected);
    }
  }

  // All elements in their order, each with its name, its text and the attribute "a".
  std::string Describe() {
    elements.clear();
    return Describe(document->GetRoot());
  }
  std::string Describe(Element& element) { // no input of the fuzzer's nests too deep for this
    elements.push_back(&element);
    const Ostrum::Attribute attribute = element.GetAttribute("a");
    std::string text =
        "<" + std::string(element.GetName()) + (attribute.IsNull() ? "" : " a=") + attribute.GetValue() + ">";
    for (auto child = element.Begin(); !(child == element.End()); ++child) text += Describe(*child);
    return text + "</>" + element.GetValue();
  }

  std::string source;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::unique_ptr<Ostrum::Document> document;
  std::vector<Element*> elements;
};

void ChangeOne(Element& element, FuzzedDataProvider& choice) try {
  const std::string value = "'\"<&]]>" + choice.ConsumeRandomLengthString(40);
  const auto kind = choice.ConsumeIntegralInRange(0, 2);
  if (kind == 0) return static_cast<Ostrum::Value>(element).Set(value);
  if (kind == 1) return static_cast<Ostrum::Value>(element.AddElementInto("n")).Set(value);
  Ostrum::Attribute attribute = element.GetAttribute("a");
  if (attribute.IsNull()) attribute = element.CreateAttribute("a");
  static_cast<Ostrum::Value>(attribute).Set(value);
} catch (const std::invalid_argument&) { // what XML can't carry, or an entity's text holds
}

void CheckChanges(Tree& tree, FuzzedDataProvider choice) {
  for (auto changes = choice.ConsumeIntegralInRange(0, 3); changes > 0; --changes) {
    ChangeOne(*tree.elements[choice.ConsumeIntegralInRange<std::size_t>(0, tree.elements.size() - 1)], choice);
  }
  MemoryFile("f") = tree.document->GenerateXML(false);
  Tree again;
  REQUIRE(again.document != nullptr && again.Describe() == tree.Describe());
}

void CheckSession(Tree& tree) {
  const std::string bytes = MemoryFile("f");
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  REQUIRE(InitXMLList(&list) == XmlSuccess);
  const std::uint32_t opened = OpenXML(list, "f", 4, 0, &cookie);
  REQUIRE(tree.document != nullptr ? opened == XmlSuccess : opened == XmlOutOfMemory || opened == XmlFileNotText);
  if (opened == XmlSuccess) {
    REQUIRE(SetXMLItem(list, cookie, "", "", "neither", "") == XmlSuccess);
    REQUIRE(tree.encoding != Ostrum::UTF_8 || MemoryFile("f") == bytes);
    REQUIRE(Tree().Describe() == tree.Describe());
    char group[260] = "";
    for (std::uint32_t n = 1; n < 50; ++n, group[0] = '\0') EnumXMLGroup(list, cookie, "\\", n, group, sizeof group);
    REQUIRE(SetXMLItem(list, cookie, "", "zz", "ELEMENT", " <&]]>\"' ") == XmlSuccess && Tree().document != nullptr);
  }
  REQUIRE(EndXMLList(&list) == XmlSuccess && list == nullptr);
}

// What stands before the input, if its first byte is the number of one: encodings, and elements in the text of entities.
const char* const starts[] = {
    "<?xml version='1.0' encoding='windows-1255'?>",
    "<?xml version='1.0' encoding='ISO-8859-5'?>",
    "<?xml version='1.0' encoding='Shift_JIS'?>",
    "<?xml version='1.0' encoding='EUC-JP'?>",
    "<?xml version='1.0' encoding='GB18030'?>",
    "<?xml version='1.0' encoding='Big5-HKSCS'?>",
    "<!DOCTYPE r [<!ENTITY e '<a>1</a>t<b a=\"2\"/>'><!ENTITY f '&e;<![CDATA[x]]><c>&e;</c>'>]><r>&f;",
    "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY f '&#38;e;&#60;'><!ATTLIST r a NMTOKENS ' 1  2'>]><r><b a='&e;&f;'>&e;"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  const bool started = size > 0 && data[0] < std::size(starts);
  MemoryFile("f") = started ? starts[data[0]] : "";
  MemoryFile("f").append(data + (started ? 1 : 0), data + size);
  Tree tree;
  CheckSession(tree);
  if (tree.document != nullptr) CheckChanges(tree, FuzzedDataProvider(data, size));
  return 0;
}
