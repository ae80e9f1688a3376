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
    "<Catalog><ProductPackage><ProductID>P</ProductID><ProductDetection Branch='A'/><LangPackage Branch='A' "
    "Version='1'><PackageType>T</PackageType><ExtraSettings><Setting Name='EngineFile'>e</Setting></ExtraSettings>"
    "<FileList><FileItem><Name>n</Name><Hash>h</Hash></FileItem></FileList></LangPackage></ProductPackage>"
    "<ProductPackage/><SiteStatus Status='Enabled'/><caf\xC3\xA9>\xE6\x97\xA5</caf\xC3\xA9></Catalog>";

std::string OneWord(FuzzedDataProvider& input) {
  static std::istringstream all(
      "Catalog ProductPackage ProductPackage2 LangPackage ExtraSettings Setting Setting&Name=E A P T ENGINE x text "
      "Name ELEMENT ATTRIBUTE Status caf\xC3\xA9 \\ FileItem");
  static const std::vector<std::string> words(std::istream_iterator<std::string>(all), {});
  return words[input.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)];
}

// A path of the words that mean something here, or any bytes.
std::string Words(FuzzedDataProvider& input) {
  const auto separators = input.ConsumeIntegralInRange(0, 4);
  if (separators == 4) return input.ConsumeRandomLengthString(300);
  std::string path = OneWord(input);
  for (int i = 0; i < separators; ++i) path += "\\" + OneWord(input);
  return path;
}

std::uint32_t Call(XmlFileList* list, std::uint32_t cookie, FuzzedDataProvider& input, char* buffer,
                   std::uint32_t capacity) {
  std::string texts[4];
  const char* arguments[4] = {};
  for (int i = 0; i < 4; ++i) arguments[i] = (texts[i] = Words(input)).c_str();
  const auto missing = input.ConsumeIntegral<std::uint8_t>(); // mostly none
  if (missing < 4) arguments[missing] = nullptr;
  const auto& [path, item, type, attribute] = arguments;
  if (texts[1].size() < capacity) texts[1].copy(buffer, capacity); // a parent's group ID
  char* const value = capacity == 0 ? buffer + 1 : buffer;
  const std::int32_t number = input.ConsumeIntegral<std::int8_t>();
  const auto count = static_cast<std::uint32_t>(number);
  DetectionPosition position = {count, input.ConsumeIntegral<std::uint8_t>(), input.ConsumeIntegral<std::uint8_t>()};
  DetectionInfo info;
  std::vector<FileListEntry> files;
  std::uint8_t enabled = 7;
  std::uint32_t matches = 7;
  switch (input.ConsumeIntegralInRange(0, 9)) {
    case 0:
      return OpenXMLGroup(list, cookie, path, buffer, capacity);
    case 1:
      return EnumXMLGroup(list, cookie, path, count, buffer, capacity);
    case 2:
      return GetXMLItem(list, cookie, path, item, type, attribute, type, value, capacity);
    case 3:
      return EnumXMLItem(list, cookie, path, item, type, number, attribute, type, value, capacity);
    case 4:
      return IsRepositoryEnabled(list, &cookie, &enabled, value, &capacity);
    case 5:
      return EnumDetectionInfo(list, &cookie, position, &info);
    case 6:
      return GetDetectionInfo(list, &cookie, path, item, type, &info);
    case 7:
      return GetFileList(list, &cookie, &files);
    case 8:
      return path == nullptr ? XmlSuccess : MatchXmlListToFileName(list, cookie, path, &matches);
    default:
      return SetXMLItem(list, cookie, path, item, type, attribute);
  }
}

void ReadLine(void*, corekit::LogKind, const wchar_t* component, const wchar_t* text) {
  REQUIRE(std::wcslen(component) + std::wcslen(text) > 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  REQUIRE(locale != nullptr);
  corekit::SetLogSink(input.ConsumeBool() ? &ReadLine : nullptr, nullptr);
  MemoryFile("catalog.xml") = document;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  REQUIRE(InitXMLList(&list) == XmlSuccess && OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess);
  for (int calls = 0; calls < 100 && input.remaining_bytes() > 0; ++calls) {
    // Ends where its capacity does, so that the address sanitizer sees each byte behind it; a group ID has one byte at least.
    const std::uint32_t capacity = input.ConsumeBool() ? 260 : input.ConsumeIntegralInRange(0U, 255U);
    const std::size_t room = std::max(capacity, 1U);
    const std::unique_ptr<char[]> buffer(new char[room]{});
    const std::uint32_t code = Call(list, cookie, input, buffer.get(), capacity);
    REQUIRE(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
    REQUIRE(std::memchr(buffer.get(), 0, room) != nullptr);
  }
  // Whatever was set, what was saved last opens.
  CloseXML(list, cookie);
  REQUIRE(OpenXML(list, "catalog.xml", 4, 0, &cookie) == XmlSuccess);
  REQUIRE(EndXMLList(&list) == XmlSuccess);
  return 0;
}
