// Any bytes as a file: what opens must be walked, set, saved and read again as the same.
#include <clocale>
#include <memory>
#include <stdexcept>
#include <vector>

#include "harness.h"
#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "tarvik/tarvik.h"

namespace {

using Ostrum::Element;

// What the file holds now, as far as it can be read.
struct Tree {
  Tree() {
    unsigned long byteCount = 0;
    Ostrum::PARSER_ERROR error{};
    int line = 0, column = 0;
    Ostrum::DocumentFile file("f", nullptr, nullptr);
    if (file.ReadBufferFromFileNoExp(source, encoding, byteCount) != Ostrum::ReadDone) return;
    Ostrum::DocumentText copy = source;
    document.reset(Ostrum::ParseXML(std::move(copy), static_cast<int>(source.Length()), error, line, column));
    if (document != nullptr) REQUIRE(document->GenerateXML(false).Utf8() == source.Utf8());
  }

  // All elements in their order, each with its name, its text and the attribute "a".
  std::wstring Describe() {
    elements.clear();
    return Describe(document->GetRoot());
  }
  std::wstring Describe(Element& element) { // no input of the fuzzer's nests too deep for this
    elements.push_back(&element);
    const Ostrum::Attribute attribute = element.GetAttribute(L"a");
    std::wstring text = L"<" + element.GetName() + (attribute.IsNull() ? L"" : L" a=") + attribute.GetValue() + L">";
    for (auto child = element.Begin(); !(child == element.End()); ++child) text += Describe(*child);
    return text + L"</>" + element.GetValue();
  }

  Ostrum::DocumentText source;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::unique_ptr<Ostrum::Document> document;
  std::vector<Element*> elements;
};

void ChangeOne(Element& element, FuzzedDataProvider& choice) try {
  const std::string narrow = choice.ConsumeRandomLengthString(40);
  const std::wstring value = L"'\"<&]]>" + std::wstring(narrow.begin(), narrow.end());
  const auto kind = choice.ConsumeIntegralInRange(0, 2);
  if (kind == 0) return static_cast<Ostrum::Value>(element).Set(value.c_str());
  if (kind == 1) return static_cast<Ostrum::Value>(element.AddElementInto(L"n")).Set(value.c_str());
  Ostrum::Attribute attribute = element.GetAttribute(L"a");
  if (attribute.IsNull()) attribute = element.CreateAttribute(L"a");
  static_cast<Ostrum::Value>(attribute).Set(value.c_str());
} catch (const std::invalid_argument&) { // what XML can't carry
}

void CheckChanges(Tree& tree, FuzzedDataProvider choice) {
  for (auto changes = choice.ConsumeIntegralInRange(0, 3); changes > 0; --changes) {
    ChangeOne(*tree.elements[choice.ConsumeIntegralInRange<std::size_t>(0, tree.elements.size() - 1)], choice);
  }
  MemoryFile("f") = tree.document->GenerateXML(false).Utf8();
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  MemoryFile("f").assign(data, data + size);
  Tree tree;
  CheckSession(tree);
  if (tree.document != nullptr) CheckChanges(tree, FuzzedDataProvider(data, size));
  return 0;
}
