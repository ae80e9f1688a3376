#include "document.h"

#include <algorithm>
#include <clocale>
#include <stdexcept>

#include "output.h"
#include "registry/file_list.h"
#include "text.h"

Document::Document(const Options& options) : file(options.shownFile) {
  if (InitXMLList(&list) != XmlSuccess) throw CommandError(file + ": out of memory");
  const std::uint32_t code = OpenXML(list, options.file.c_str(), 0, options.encrypted ? 1 : 0, &cookie);
  if (code != XmlSuccess) {
    EndXMLList(&list);
    const Examination examination = Examine(options.file, options.encrypted);
    if (!examination.reason.empty()) throw CommandError(file + examination.Complaint());
    throw CommandError(file + ": can't be opened (result code " + std::to_string(code) +
                       "); the root's name may have no form in the locale's character set");
  }
  record = FindXmlFile(list, nullptr, &cookie, nullptr);
  finder.emplace(record->document->GetRoot());
  rootName = ToLocale(record->document->GetRoot().GetName()).value();
}

Ostrum::Document& Document::Tree() const { return *record->document; }

void Document::Note(const std::string& line) const { PrintMessage(file + ": " + line); }

bool Document::Succeeded(std::uint32_t code) const {
  if (code == XmlSuccess) return true;
  if (code == XmlNotFound) return false;
  throw CommandError(file + ": the library failed (result code " + std::to_string(code) + ")");
}

Document::GroupId Document::Open(const std::string& parent, const std::string& path, std::uint32_t occurrence,
                                 const Element& wanted) const {
  const std::size_t longestNumber = 10; // digits of 32 bits; a longer ID would be cut, and could be another group's
  if (parent.size() + 1 + path.size() + longestNumber >= GroupIdCapacity) return std::nullopt;
  char groupId[GroupIdCapacity] = {};
  std::copy(parent.begin(), parent.end(), groupId);
  const auto code = EnumXMLGroup(list, cookie, path.c_str(), occurrence, groupId, sizeof groupId);
  if (!Succeeded(code) || record->elementMap->Find(groupId) != &wanted) return std::nullopt;
  return groupId;
}

// With the root's name in front, a name that begins like it is not taken for it.
Document::GroupId Document::OpenChild(const GroupId& parent, const Step& step, std::uint32_t occurrence) const {
  if (!parent) return std::nullopt;
  return Open(*parent, rootName + '\\' + ToLocale(step.name).value(), occurrence, *step.element);
}

// The group path "&" has an empty name, with which every name begins; so no other ID can be the same. "" for the root.
Document::GroupId Document::OpenByPositions(Place::const_iterator step, Place::const_iterator end) const {
  GroupId group;
  if (rootName.size() < GroupIdCapacity) group = ""; // else the library can't find the root by its name
  for (; group && step != end; ++step) group = Open(*group, "&", step->position, *step->element);
  return group;
}

std::optional<std::string> Document::Read(const Place& place, const std::string& attribute) const {
  Element& element = finder->At(place);
  const bool isText = attribute.empty();
  const Ostrum::Attribute found = element.GetAttribute(attribute);
  if (!isText && found.IsNull()) return std::nullopt;
  const std::string inDocument = isText ? element.GetValue() : found.GetValue();
  auto value = ToLocale(inDocument); // tells how large the buffer must be
  const std::string path = place.empty() ? std::string(element.GetName()) : PathOf(place);
  if (!value) {
    throw CommandError(file + ": " + path + ": has no form in the character set of the locale (" +
                       std::setlocale(LC_CTYPE, nullptr) + ")");
  }
  GroupId group; // of the element that has the attribute, or of the text's parent
  if (!isText || !place.empty()) group = OpenByPositions(place.begin(), place.end() - (isText ? 1 : 0));
  const auto item = ToLocale(element.GetName()), attributeName = ToLocale(attribute);
  if (!group || !item) return inDocument;
  const char* const type = isText ? "ELEMENT" : "ATTRIBUTE";
  const auto index = static_cast<std::int32_t>(isText ? place.back().number : 1);
  const auto capacity = static_cast<std::uint32_t>(value->size() + 1);
  const auto code = EnumXMLItem(list, cookie, (group->empty() ? rootName : *group).c_str(), item->c_str(), type, index,
                                attributeName->c_str(), type, value->data(), capacity);
  if (!Succeeded(code)) throw std::logic_error(file + ": " + path + ": is not found where it is");
  return FromLocale(*value);
}
