#include "document.h"

#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "command_error.h"
#include "registry/file_list.h"

namespace {

constexpr std::size_t GroupIdCapacity = 260;
constexpr std::size_t LongestNumber = 10; // digits of a 32-bit number

// Copies standard input into a new file that nobody else can read.
std::string KeepStandardInput() {
  std::string name = (std::filesystem::temp_directory_path() / "tarvik-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  std::FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
  if (file == nullptr) throw CommandError("standard input: no temporary file can be made");
  char buffer[65536];
  bool isCopied = true;
  for (std::size_t count = 0; isCopied && (count = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) {
    isCopied = std::fwrite(buffer, 1, count, file) == count;
  }
  isCopied = std::fclose(file) == 0 && isCopied && std::ferror(stdin) == 0;
  if (isCopied) return name;
  std::remove(name.c_str());
  throw CommandError("standard input: can't be read, or not be kept in a temporary file");
}

} // namespace

InputFile::InputFile(const std::string& file)
    : name(file == "-" ? KeepStandardInput() : file), isTemporary(file == "-") {}

InputFile::~InputFile() {
  if (isTemporary) std::remove(name.c_str());
}

void UseKey(const Options& options) {
  if (options.keyFile.empty()) return;
  std::ifstream file(options.keyFile, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::uint8_t key[32];
  if (!file || bytes.size() != sizeof key) throw CommandError(options.keyFile + ": not a 32-byte key");
  std::copy(bytes.begin(), bytes.end(), key);
  corekit::SetCipherKey(key);
}

Document::Document(const Options& options) : log(options.verbosity) {
  UseKey(options);
  const InputFile file(options.file);
  shownName = file.Shown();
  if (InitXMLList(&list) != XmlSuccess) throw CommandError(shownName + ": out of memory");
  const std::uint32_t code = OpenXML(list, file.Name().c_str(), 0, options.encrypted ? 1 : 0, &cookie);
  if (code != XmlSuccess) {
    EndXMLList(&list);
    const Examination examination = Examine(file.Name(), options.encrypted);
    if (!examination.reason.empty()) throw CommandError(shownName + examination.Complaint());
    throw CommandError(shownName + ": can't be opened (result code " + std::to_string(code) +
                       "); the root's name may have no form in the locale's character set");
  }
  record = FindXmlFile(list, nullptr, &cookie, nullptr);
  finder.emplace(record->document->GetRoot(), names);
  rootName = finder->RootName();
}

Document::~Document() { EndXMLList(&list); }

Ostrum::Document& Document::Tree() const { return *record->document; }

bool Document::Succeeded(std::uint32_t code) const {
  if (code == XmlSuccess) return true;
  if (code == XmlNotFound) return false;
  throw CommandError(shownName + ": the library failed (result code " + std::to_string(code) + ")");
}

Document::GroupId Document::Open(const std::string& parentId, const std::string& groupPath, std::uint32_t occurrence,
                                 const Ostrum::Element& wanted) const {
  // The library would cut a longer ID, which could then be another group's.
  if (parentId.size() + 1 + groupPath.size() + LongestNumber >= GroupIdCapacity) return std::nullopt;
  char groupId[GroupIdCapacity] = {};
  std::copy(parentId.begin(), parentId.end(), groupId);
  const auto code = EnumXMLGroup(list, cookie, groupPath.c_str(), occurrence, groupId, sizeof groupId);
  if (!Succeeded(code) || FindInElementMap(*record->elementMap, groupId) != &wanted) return std::nullopt;
  return groupId;
}

// The group path "&" has an empty name, with which every name begins.
Document::GroupId Document::OpenChild(const GroupId& parent, const Step& step) const {
  return parent ? Open(*parent, "&", step.position, *step.element) : std::nullopt;
}

Document::GroupId Document::OpenGroup(const Place& place) const {
  GroupId group;
  if (rootName.size() < GroupIdCapacity) group = ""; // else the library can't find the root by its name
  for (const Step& step : place) group = OpenChild(group, step);
  return group;
}

// With the root's name in front, a name that begins like it is not taken for it.
Document::GroupId Document::LibraryId(const GroupId& parent, const Step& step, std::uint32_t occurrence) const {
  return parent ? Open(*parent, rootName + '\\' + step.name, occurrence, *step.element) : std::nullopt;
}

std::string Document::RequireForm(std::optional<std::string> text, const std::string& name) const {
  if (text) return *text;
  throw CommandError(shownName + ": " + name + ": has no form in the character set of the locale (" +
                     std::setlocale(LC_CTYPE, nullptr) + ")");
}

std::string Document::ReadText(const GroupId& parent, const Step& step) const {
  if (!parent) return RequireForm(TextOf(*step.element), step.name);
  return Read(ReadPath(*parent), step.name, step.number, nullptr).value();
}

std::string Document::ReadText(const Place& place) const {
  if (place.empty()) return RequireForm(TextOf(record->document->GetRoot()), rootName);
  return ReadText(OpenGroup(Place(place.begin(), place.end() - 1)), place.back());
}

std::optional<std::string> Document::ReadAttribute(const Place& place, const std::string& attribute) const {
  const std::string& name = place.empty() ? rootName : place.back().name;
  const GroupId group = OpenGroup(place);
  if (group) return Read(ReadPath(*group), name, 1, attribute.c_str());
  if (!HasAttribute(finder->At(place), attribute)) return std::nullopt;
  return RequireForm(AttributeOf(finder->At(place), attribute), name);
}

std::optional<std::string> Document::Read(const std::string& path, const std::string& item, std::uint32_t index,
                                          const char* attribute) const {
  const char* const type = attribute == nullptr ? "ELEMENT" : "ATTRIBUTE";
  // A value that fills the buffer may have been cut, so it is read again into a larger one.
  for (std::string buffer(1024, '\0');; buffer.assign(buffer.size() * 4, '\0')) {
    const auto code = EnumXMLItem(list, cookie, path.c_str(), item.c_str(), type, static_cast<std::int32_t>(index),
                                  attribute, type, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    if (code == XmlFailure)
      RequireForm(std::nullopt, item + (attribute == nullptr ? "" : "&" + std::string(attribute)));
    if (!Succeeded(code)) return std::nullopt;
    const std::size_t length = std::char_traits<char>::length(buffer.c_str());
    if (length + 1 < buffer.size()) return buffer.substr(0, length);
  }
}
