#include "document.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <vector>

#include "command_error.h"
#include "text.h"

namespace {

constexpr std::size_t GroupIdCapacity = 260;
constexpr std::size_t LongestOccurrence = 10; // digits of a 32-bit number

void UseKey(const std::string& keyFile) {
  std::ifstream file(keyFile, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::uint8_t key[32];
  if (!file || bytes.size() != sizeof key) throw CommandError(keyFile + ": is no key of 32 bytes");
  std::copy(bytes.begin(), bytes.end(), key);
  corekit::SetCipherKey(key);
}

std::string WhyNotOpened(std::uint32_t code, const Options& options) {
  switch (code) {
    case XmlOutOfMemory:
      return "is not well-formed XML, or too large for the memory";
    case XmlFileNotFound:
      return "there is no such file";
    case XmlFileUnreadable:
      return "is there but can't be read";
    case XmlFileNotText:
      return options.encrypted ? "is damaged, enciphered with another key, or not enciphered"
                               : "is no text in an encoding that is understood; an enciphered file needs --encrypted";
    default:
      return "could not be opened (result code " + std::to_string(code) + ")";
  }
}

} // namespace

Document::Document(const Options& options) : file(options.file), log(options.verbosity) {
  if (!options.keyFile.empty()) UseKey(options.keyFile);
  if (InitXMLList(&list) != XmlSuccess) throw CommandError(file + ": out of memory");
  const std::uint32_t code = OpenXML(list, file.c_str(), 0, options.encrypted ? 1 : 0, &cookie);
  if (code == XmlSuccess) return;
  EndXMLList(&list);
  const std::string reason = ToLocale(log.Reason());
  throw CommandError(file + ':' + (reason.empty() ? ' ' + WhyNotOpened(code, options) : reason));
}

Document::~Document() { EndXMLList(&list); }

bool Document::Succeeded(std::uint32_t code) const {
  if (code == XmlSuccess) return true;
  if (code == XmlNotFound) return false;
  throw CommandError(file + ": the library failed (result code " + std::to_string(code) + ")");
}

// The library cuts a longer ID, which could then be another group's.
bool Document::HasRoomFor(const std::string& parentId, const std::string& groupPath) {
  return parentId.size() + 1 + groupPath.size() + LongestOccurrence < GroupIdCapacity;
}

std::optional<std::string> Document::OpenGroup(const std::string& parentId, const std::string& groupPath,
                                               std::uint32_t occurrence) const {
  if (!HasRoomFor(parentId, groupPath)) return std::nullopt;
  char groupId[GroupIdCapacity] = {};
  std::copy(parentId.begin(), parentId.end(), groupId);
  const auto code = EnumXMLGroup(list, cookie, groupPath.c_str(), occurrence, groupId, sizeof groupId);
  if (!Succeeded(code)) return std::nullopt;
  return groupId;
}

// The answer to a group call is the same for the root alone as for a group; only the log tells them apart.
bool Document::IsRootAlone(const std::string& groupPath) const {
  return OpenGroup("", groupPath) && log.LatestLine() == L"Only the root was given as a group path.";
}

// No public function hands out a name, but a read whose attribute is missing says in the log whether it was missing on the
// element itself, which then has the name that was asked for, or on all of its children. "-" can be no attribute's name.
bool Document::HasName(const std::string& groupId, const std::string& name) const {
  return !ReadAttribute(groupId, name, 1, "-") && log.LatestLine() == L"- (attribute) not found in the element map.";
}

std::optional<std::string> Document::ReadText(const std::string& path, const std::string& item,
                                              std::int32_t index) const {
  return Read(path, item, "ELEMENT", index, nullptr, "ELEMENT");
}

std::optional<std::string> Document::ReadAttribute(const std::string& path, const std::string& item, std::int32_t index,
                                                   const std::string& attribute) const {
  return Read(path, item, "ATTRIBUTE", index, attribute.c_str(), "ATTRIBUTE");
}

std::optional<std::string> Document::ReadTextBesideAttribute(const std::string& path, const std::string& item,
                                                             std::int32_t index, const std::string& attribute) const {
  return Read(path, item, "ATTRIBUTE", index, attribute.c_str(), "ELEMENT");
}

std::optional<std::string> Document::Read(const std::string& path, const std::string& item, const char* itemType,
                                          std::int32_t index, const char* attribute, const char* valueType) const {
  // A value that fills the buffer may have been cut, so it is read again into a larger one.
  for (std::vector<char> buffer(1024);; buffer.resize(buffer.size() * 4)) {
    const auto code = EnumXMLItem(list, cookie, path.c_str(), item.c_str(), itemType, index, attribute, valueType,
                                  buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    if (!Succeeded(code)) return std::nullopt;
    std::string value = buffer.data();
    if (value.size() + 1 < buffer.size()) return value;
  }
}

void Document::Set(const std::string& path, const std::string& item, bool isAttribute, const std::string& value) const {
  const char* itemType = isAttribute ? "ATTRIBUTE" : "ELEMENT";
  const auto code = SetXMLItem(list, cookie, path.c_str(), item.c_str(), itemType, value.c_str());
  if (code == XmlSuccess) return;
  const std::string place = file + ": " + path + "\\" + item + ": ";
  const std::string reason = ToLocale(log.Reason());
  if (!reason.empty()) throw CommandError(place + "not saved: " + reason);
  if (code == XmlOutOfMemory) throw CommandError(place + "not saved: out of memory");
  throw CommandError(place + "not set: the name or the value is nothing that XML can carry");
}
