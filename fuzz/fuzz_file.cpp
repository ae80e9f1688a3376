// Takes any bytes as a file. If it opens, it must be saved and read again unchanged, and any
// sequence of calls on it must return only documented codes and must not write beyond a buffer's
// capacity.
#include <fuzzer/FuzzedDataProvider.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <sstream>

#include "corekit/corekit.h"
#include "ostrumxml/parsed_document.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"

// The bytes of a file, in memory_files.cpp.
std::string& MemoryFile(const std::string& name);

namespace {

// The fuzzer shows where the program aborted.
void Require(bool holds) {
  if (!holds) std::abort();
}

// The current file. Its content must be what Expat alone reads from it.
Parsed ReadFile() {
  Parsed parsed(MemoryFile("f"));
  const std::string expected = parsed.refusal.empty() ? DescribeByExpat(parsed.source) : "";
  if (parsed.document == nullptr)
    Require(expected.empty() || parsed.error >= Ostrum::TOO_MANY_ENTITIES);
  if (parsed.document != nullptr)
    Require(parsed.Generate() == parsed.source && Describe(parsed.At("")) == expected);
  return parsed;
}

// A path of words that occur in the seeds, or of any bytes.
std::string Words(FuzzedDataProvider& choice) {
  static std::istringstream all(
      "Catalog ProductPackage ProductPackage2 LangPackage ExtraSettings Setting Setting&Name=E A P "
      "T ENGINE x text r "
      "a b n b&a=1 Name ELEMENT ATTRIBUTE Status caf\xC3\xA9 \\ FileItem");
  static const std::vector<std::string> words(std::istream_iterator<std::string>(all), {});
  const auto count = choice.ConsumeIntegralInRange(0, 4);
  if (count == 0) return choice.ConsumeRandomLengthString(300);
  std::string path;
  for (int i = 0; i < count; ++i) {
    path += (i == 0 ? "" : "\\") +
            words[choice.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)];
  }
  return path;
}

std::uint32_t Call(XmlFileList* list, std::uint32_t cookie, FuzzedDataProvider& choice,
                   char* buffer, std::uint32_t capacity) {
  const std::string texts[] = {Words(choice), Words(choice), Words(choice), Words(choice)};
  const auto missing = choice.ConsumeIntegral<std::uint8_t>(); // usually none of them
  const auto argument = [&](std::size_t number) {
    return number == missing ? nullptr : texts[number].c_str();
  };
  const auto *path = argument(0), *item = argument(1), *type = argument(2), *value = argument(3);
  if (texts[1].size() < capacity) texts[1].copy(buffer, capacity); // a parent's group ID
  const std::int32_t number = choice.ConsumeIntegral<std::int8_t>();
  const auto count = static_cast<std::uint32_t>(number);
  DetectionPosition position = {count, choice.ConsumeIntegral<std::uint8_t>(),
                                choice.ConsumeIntegral<std::uint8_t>()};
  DetectionInfo info;
  std::vector<FileListEntry> files;
  std::uint8_t enabled = 7;
  const auto function = choice.ConsumeIntegralInRange(0, 8);
  if (function == 0) return OpenXMLGroup(list, cookie, path, buffer, capacity);
  if (function == 1) return EnumXMLGroup(list, cookie, path, count, buffer, capacity);
  if (function == 2)
    return GetXMLItem(list, cookie, path, item, type, value, type, buffer, capacity);
  if (function == 3)
    return EnumXMLItem(list, cookie, path, item, type, number, value, type, buffer, capacity);
  if (function == 4) return IsRepositoryEnabled(list, &cookie, &enabled, buffer, &capacity);
  if (function == 5) return EnumDetectionInfo(list, &cookie, position, &info);
  if (function == 6) return GetDetectionInfo(list, &cookie, path, item, type, &info);
  if (function == 7) return GetFileList(list, &cookie, &files);
  return SetXMLItem(list, cookie, path, item, type, value);
}

void CheckSession(const Parsed& parsed, FuzzedDataProvider choice) {
  const std::string bytes = MemoryFile("f");
  const corekit::LogSink readLine = [](void*, corekit::LogKind, const wchar_t* component,
                                       const wchar_t* text) {
    Require(std::wcslen(component) + std::wcslen(text) > 0);
  };
  corekit::SetLogSink(choice.ConsumeBool() ? readLine : nullptr, nullptr);
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  Require(InitXMLList(&list) == XmlSuccess);
  const std::uint32_t opened = OpenXML(list, "f", XmlOpenAtOnce, 0, &cookie);
  Require(parsed.document != nullptr ? opened == XmlSuccess
                                     : opened == XmlOutOfMemory || opened == XmlFileNotText);
  if (opened == XmlSuccess) {
    Require(SetXMLItem(list, cookie, "", "", "neither", "") == XmlSuccess);
    Require(parsed.source != bytes || MemoryFile("f") == bytes);
    Require(Describe(ReadFile().At("")) == Describe(parsed.At("")));
  }
  for (int calls = 0; opened == XmlSuccess && calls < 100 && choice.remaining_bytes() > 0;
       ++calls) {
    // No spare capacity, so that the address sanitizer notices every byte written behind it. A
    // group ID has at least one byte.
    std::vector<char> buffer(choice.ConsumeBool() ? 260 : choice.ConsumeIntegralInRange(1U, 255U));
    buffer.shrink_to_fit();
    const std::uint32_t code =
        Call(list, cookie, choice, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    Require(code == XmlSuccess || code == XmlNotFound || code == XmlFailure);
    Require(std::memchr(buffer.data(), 0, buffer.size()) != nullptr);
  }
  // Whatever was set, the file must have the document's content.
  Require(opened != XmlSuccess ||
          Describe(ReadFile().At("")) == Describe(list->files.front().document->GetRoot()));
  Require(EndXMLList(&list) == XmlSuccess && list == nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const char* const locale = std::setlocale(LC_ALL, "C.UTF-8");
  Require(locale != nullptr);
  MemoryFile("f").assign(data, data + size);
  CheckSession(ReadFile(), FuzzedDataProvider(data, size));
  return 0;
}
