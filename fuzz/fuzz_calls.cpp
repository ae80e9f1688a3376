// Any sequence of calls on a fixed document: codes that the functions may give, and no byte behind a buffer's capacity.
#include <clocale>
#include <cwchar>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "corekit/corekit.h"
#include "input.h"
#include "memory_files.h"
#include "tarvik/tarvik.h"

namespace {

constexpr const char* document =
    "<Catalog v='1'><ProductPackage><ProductID>P</ProductID><ProductDetection Branch='A'/><LangPackage Branch='A' "
    "Version='1'><PackageType>T</PackageType>"
    "<ExtraSettings><Setting Name='EngineFile'>e</Setting><Setting/></ExtraSettings><FileList><FileItem><Name>n</Name>"
    "<Hash>h</Hash></FileItem></FileList></LangPackage></ProductPackage><ProductPackage/><SiteStatus Status='Enabled'/>"
    "<caf\xC3\xA9>\xE6\x97\xA5</caf\xC3\xA9></Catalog>";

constexpr const char* words[] = {"Catalog",
                                 "ProductPackage",
                                 "ProductPackage2",
                                 "LangPackage",
                                 "ExtraSettings",
                                 "Setting",
                                 "Setting&Name=E",
                                 "A",
                                 "P",
                                 "T",
                                 "ENGINE",
                                 "x",
                                 "text",
                                 "Name",
                                 "ELEMENT",
                                 "ATTRIBUTE",
                                 "Status",
                                 "caf\xC3\xA9",
                                 "\\",
                                 ""};

std::string Word(Input& input) {
  const std::uint8_t choice = input.Byte();
  if (choice >= 200) return input.Text(300);
  std::string word = words[choice % std::size(words)];
  for (int more = choice / 50; more > 0; --more) word += std::string("\\") + words[input.Byte() % std::size(words)];
  return word;
}

// A text of the caller's, or none.
class Argument {
 public:
  explicit Argument(Input& input) : isNull(input.Byte() == 199), text(isNull ? std::string() : Word(input)) {}
  const char* Text() const { return isNull ? nullptr : text.c_str(); }

 private:
  bool isNull;
  std::string text;
};

// A buffer that ends where its capacity does, so that a sanitizer sees each byte behind it.
class Buffer {
 public:
  explicit Buffer(Input& input)
      : capacity(input.Byte() % 2 == 0 ? std::uint32_t{input.Byte()} : 260), bytes(new char[std::max(capacity, 1U)]) {
    bytes[0] = '\0';
  }
  // Lays a parent's group ID into it, as far as it goes.
  void Put(const std::string& text) {
    if (text.size() >= capacity) return;
    text.copy(bytes.get(), text.size());
    bytes[text.size()] = '\0';
  }
  char* Bytes() { return bytes.get(); }
  std::uint32_t Capacity() const { return capacity; }

 private:
  std::uint32_t capacity;
  std::unique_ptr<char[]> bytes;
};

void Call(XmlFileList* list, std::uint32_t cookie, Input& input) {
  const Argument path(input);
  const Argument item(input);
  const Argument type(input);
  const Argument attribute(input);
  Buffer buffer(input);
  const auto number = static_cast<std::uint32_t>(static_cast<std::int8_t>(input.Byte()));
  std::uint32_t code = XmlSuccess;
  switch (input.Byte() % 9) {
    case 0:
      if (item.Text() != nullptr) buffer.Put(item.Text());
      code = OpenXMLGroup(list, cookie, path.Text(), buffer.Bytes(), buffer.Capacity());
      break;
    case 1:
      if (item.Text() != nullptr) buffer.Put(item.Text());
      code = EnumXMLGroup(list, cookie, path.Text(), number, buffer.Bytes(), buffer.Capacity());
      break;
    case 2:
      code = GetXMLItem(list, cookie, path.Text(), item.Text(), type.Text(), attribute.Text(), type.Text(),
                        buffer.Bytes(), buffer.Capacity());
      break;
    case 3:
      code = EnumXMLItem(list, cookie, path.Text(), item.Text(), type.Text(), static_cast<std::int32_t>(number),
                         attribute.Text(), type.Text(), buffer.Bytes(), buffer.Capacity());
      break;
    case 4:
      code = SetXMLItem(list, cookie, path.Text(), item.Text(), type.Text(), attribute.Text());
      break;
    case 5: {
      std::uint8_t enabled = 7;
      const std::uint32_t capacity = buffer.Capacity();
      code = IsRepositoryEnabled(list, &cookie, &enabled, buffer.Bytes(), &capacity);
      REQUIRE(enabled <= 1);
      break;
    }
    case 6: {
      DetectionPosition position = {number, input.Byte(), input.Byte()};
      DetectionInfo info;
      code = EnumDetectionInfo(list, &cookie, position, &info);
      REQUIRE(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
      code = GetDetectionInfo(list, &cookie, path.Text(), item.Text(), type.Text(), &info);
      break;
    }
    case 7: {
      std::vector<FileListEntry> files;
      code = GetFileList(list, &cookie, &files);
      break;
    }
    default: {
      std::uint32_t matches = 7;
      code = MatchXmlListToFileName(list, cookie, path.Text(), &matches);
      REQUIRE(path.Text() != nullptr ? matches <= 1 : code == XmlInvalidArgument && matches == 7);
      if (path.Text() == nullptr) code = XmlSuccess;
      break;
    }
  }
  REQUIRE(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
}

std::size_t characters = 0; // logged

void Count(void*, corekit::LogKind, const wchar_t* component, const wchar_t* text) {
  characters += std::wcslen(component) + std::wcslen(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  corekit::SetLogSink(input.Byte() % 2 == 0 ? nullptr : &Count, nullptr);
  MemoryFiles()[L"catalog.xml"] = document;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  REQUIRE(InitXMLList(&list) == XmlSuccess && OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess);
  for (int calls = 0; calls < 100 && !input.IsEmpty(); ++calls) Call(list, cookie, input);
  // Whatever was set, what was saved last opens.
  CloseXML(list, cookie);
  REQUIRE(OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess || size > 100'000);
  REQUIRE(EndXMLList(&list) == XmlSuccess);
  return 0;
}
