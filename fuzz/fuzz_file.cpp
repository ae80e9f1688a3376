// Any bytes as a file: what opens must be walked, set, saved and read again as the same.
#include <clocale>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "input.h"
#include "memory_files.h"
#include "tarvik/tarvik.h"

namespace {

using Ostrum::Element;

std::unique_ptr<Ostrum::Document> Parse(const std::string& utf8, std::size_t length) {
  Ostrum::PARSER_ERROR error{};
  int line = 0;
  int column = 0;
  return std::unique_ptr<Ostrum::Document>(
      Ostrum::ParseXML({std::string(utf8), length}, static_cast<int>(length), error, line, column));
}

// All elements in document order, with their depth, name, text and the attribute "a".
std::wstring Describe(Ostrum::Document& document, std::vector<Element*>& elements) {
  std::wstring text;
  std::vector<std::pair<Element*, std::size_t>> pending{{&document.GetRoot(), 0}};
  while (!pending.empty()) {
    const auto [element, depth] = pending.back();
    pending.pop_back();
    elements.push_back(element);
    text += std::to_wstring(depth) + L"<" + element->GetName() + L">" + element->GetValue() + L"|" +
            element->GetAttribute(L"a").GetValue() + L"\n";
    std::vector<std::pair<Element*, std::size_t>> children;
    for (auto child = element->Begin(); !(child == element->End()); ++child) children.emplace_back(&*child, depth + 1);
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
  return text;
}

void ChangeOne(std::vector<Element*>& elements, Input& choice) {
  Element& element = *elements[choice.Byte() % elements.size()];
  const std::string narrow = choice.Text(40);
  const std::wstring value(narrow.begin(), narrow.end());
  try {
    switch (choice.Byte() % 3) {
      case 0:
        static_cast<Ostrum::Value>(element).Set(value.c_str());
        break;
      case 1: {
        Ostrum::Attribute attribute = element.GetAttribute(L"a");
        if (attribute.IsNull()) attribute = element.CreateAttribute(L"a");
        static_cast<Ostrum::Value>(attribute).Set(value.c_str());
        break;
      }
      default:
        static_cast<Ostrum::Value>(element.AddElementInto(L"n")).Set(value.c_str());
        break;
    }
  } catch (const std::invalid_argument&) { // what XML can't carry
  }
}

void CheckTree(const Ostrum::DocumentText& text, Input choice) {
  const auto document = Parse(text.Utf8(), text.Length());
  if (document == nullptr) return;
  REQUIRE(document->GenerateXML(false).Utf8() == text.Utf8());
  std::vector<Element*> elements;
  Describe(*document, elements);
  for (int changes = choice.Byte() % 4; changes > 0; --changes) ChangeOne(elements, choice);

  const Ostrum::DocumentText changed = document->GenerateXML(false);
  const auto again = Parse(changed.Utf8(), changed.Length());
  REQUIRE(again != nullptr);
  REQUIRE(again->GenerateXML(false).Utf8() == changed.Utf8());
  std::vector<Element*> ignored;
  REQUIRE(Describe(*again, ignored) == Describe(*document, ignored));
}

void CheckSession(const std::string& bytes, bool isUtf8) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  REQUIRE(InitXMLList(&list) == XmlSuccess);
  const std::uint32_t opened = OpenXML(list, "f", 4, 0, &cookie);
  REQUIRE(opened == XmlSuccess || opened == XmlOutOfMemory || opened == XmlFileNotText);
  if (opened == XmlSuccess) {
    REQUIRE(SetXMLItem(list, cookie, "", "", "neither", "") == XmlSuccess);
    REQUIRE(!isUtf8 || MemoryFiles()[L"f"] == bytes);
    char group[260] = "";
    for (std::uint32_t n = 1; n < 50; ++n, group[0] = '\0') EnumXMLGroup(list, cookie, "\\", n, group, sizeof group);
    REQUIRE(SetXMLItem(list, cookie, "", "zz", "ELEMENT", " <&]]>\"' ") == XmlSuccess);
    REQUIRE(CloseXML(list, cookie) == XmlSuccess);
    REQUIRE(OpenXML(list, "f", 4, 0, &cookie) == XmlSuccess);
  }
  REQUIRE(EndXMLList(&list) == XmlSuccess && list == nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  const std::string bytes(data, data + size);
  MemoryFiles()[L"f"] = bytes;
  Ostrum::DocumentText text;
  auto encoding = Ostrum::UTF_8;
  unsigned long byteCount = 0;
  const long result = Ostrum::ReadBufferFromFileNoExp(L"f", text, encoding, byteCount, nullptr);
  if (result == Ostrum::ReadDone) CheckTree(text, Input(data, size));
  CheckSession(bytes, result == Ostrum::ReadDone && encoding == Ostrum::UTF_8);
  return 0;
}
