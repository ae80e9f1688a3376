// Any sequence of calls on a fixed document: codes that the functions may give, and no byte behind a buffer's capacity.
#include <clocale>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <sstream>
#include <vector>

#include "corekit/corekit.h"
#include "harness.h"
#include "tarvik/tarvik.h"

namespace {

constexpr const char* document =
    "<Catalog v='1'><ProductPackage><ProductID>P</ProductID><ProductDetection Branch='A'/><LangPackage Branch='A' "
    "Version='1'><PackageType>T</PackageType>"
    "<ExtraSettings><Setting Name='EngineFile'>e</Setting><Setting/></ExtraSettings><FileList><FileItem><Name>n</Name>"
    "<Hash>h</Hash></FileItem></FileList></LangPackage></ProductPackage><ProductPackage/><SiteStatus Status='Enabled'/>"
    "<caf\xC3\xA9>\xE6\x97\xA5</caf\xC3\xA9></Catalog>";

std::string OneWord(Input& input) {
  static std::istringstream all(
      "Catalog ProductPackage ProductPackage2 LangPackage ExtraSettings Setting Setting&Name=E A P T ENGINE x text "
      "Name "
      "ELEMENT ATTRIBUTE Status caf\xC3\xA9 \\ FileItem");
  static const std::vector<std::string> words(std::istream_iterator<std::string>(all), {});
  return words[input.Byte() % words.size()];
}

// A path of the words that mean something here, or any bytes.
std::string Words(Input& input) {
  const std::uint8_t choice = input.Byte();
  if (choice >= 200) return input.Text(300);
  std::string path = OneWord(input);
  for (int more = choice / 50; more > 0; --more) path += "\\" + OneWord(input);
  return path;
}

std::uint32_t Call(XmlFileList* list, std::uint32_t cookie, Input& input) {
  std::string texts[4];
  const char* arguments[4] = {}; // some stay null
  for (int i = 0; i < 4; ++i) {
    if (input.Byte() != 199) arguments[i] = (texts[i] = Words(input)).c_str();
  }
  const auto& [path, item, type, attribute] = arguments;
  const auto number = static_cast<std::uint32_t>(static_cast<std::int8_t>(input.Byte()));
  const int function = input.Byte() % 9;

  // The buffer ends where its capacity does, so that the address sanitizer sees each byte behind it; what has no capacity
  // keeps its byte. It holds the item as a parent's group ID, if there is room.
  const std::uint32_t capacity = input.Byte() % 2 == 0 ? std::uint32_t{input.Byte()} : 260;
  const std::unique_ptr<char[]> buffer(new char[std::max(capacity, 1U)]{});
  if (texts[1].size() < capacity) texts[1].copy(buffer.get(), capacity);
  if (capacity == 0 && function > 1) buffer[0] = 'x';

  std::uint32_t code = XmlSuccess, matches = 7;
  std::uint8_t enabled = 7;
  DetectionPosition position = {number, input.Byte(), input.Byte()};
  DetectionInfo info;
  std::vector<FileListEntry> files;
  switch (function) {
    case 0:
      code = OpenXMLGroup(list, cookie, path, buffer.get(), capacity);
      break;
    case 1:
      code = EnumXMLGroup(list, cookie, path, number, buffer.get(), capacity);
      break;
    case 2:
      code = GetXMLItem(list, cookie, path, item, type, attribute, type, buffer.get(), capacity);
      break;
    case 3:
      code = EnumXMLItem(list, cookie, path, item, type, static_cast<std::int32_t>(number), attribute, type,
                         buffer.get(), capacity);
      break;
    case 4:
      code = SetXMLItem(list, cookie, path, item, type, attribute);
      break;
    case 5:
      code = IsRepositoryEnabled(list, &cookie, &enabled, buffer.get(), &capacity);
      REQUIRE(enabled <= 1);
      break;
    case 6:
      code = EnumDetectionInfo(list, &cookie, position, &info);
      REQUIRE(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
      code = GetDetectionInfo(list, &cookie, path, item, type, &info);
      break;
    case 7:
      code = GetFileList(list, &cookie, &files);
      break;
    default:
      code = MatchXmlListToFileName(list, cookie, path, &matches);
      REQUIRE(path != nullptr ? matches <= 1 : code == XmlInvalidArgument && matches == 7);
      if (path == nullptr) code = XmlSuccess;
  }
  REQUIRE(capacity == 0 ? buffer[0] == (function > 1 ? 'x' : '\0') : std::memchr(buffer.get(), 0, capacity) != nullptr);
  return code;
}

void ReadLine(void*, corekit::LogKind, const wchar_t* component, const wchar_t* text) {
  REQUIRE(std::wcslen(component) + std::wcslen(text) > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  corekit::SetLogSink(input.Byte() % 2 == 0 ? nullptr : &ReadLine, nullptr);
  MemoryFile(L"catalog.xml") = document;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  REQUIRE(InitXMLList(&list) == XmlSuccess && OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess);
  for (int calls = 0; calls < 100 && !input.IsEmpty(); ++calls) {
    const std::uint32_t code = Call(list, cookie, input);
    REQUIRE(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
  }
  // Whatever was set, what was saved last opens.
  CloseXML(list, cookie);
  REQUIRE(OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess);
  REQUIRE(EndXMLList(&list) == XmlSuccess);
  return 0;
}
