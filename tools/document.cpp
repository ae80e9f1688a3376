#include "document.h"

#include <algorithm>
#include <clocale>

#include "text.h"

Document::Document(const Options& options) : file(options.shownFile) {
  if (InitXMLList(&list) != XmlSuccess) throw std::bad_alloc();
  const std::uint32_t code =
      OpenXML(list, options.file.c_str(), XmlOpenAtOnce, options.encrypted ? 1 : 0, &cookie);
  if (code != XmlSuccess) {
    EndXMLList(&list);
    const Examination examination = Examine(options.file, options.encrypted);
    if (!examination.reason.empty()) throw CommandError(file + examination.Complaint());
    Fail("can't be opened (result code " + std::to_string(code) +
         "); perhaps the locale's character set can't represent the root's name");
  }
  record = FindXmlFile(list, cookie);
  rootName = ToLocale(record->document->GetRoot().GetName()).value();
}

void Document::Note(const std::string& line) const { PrintMessage(file + ": " + line); }

void Document::Fail(const std::string& line, ExitStatus status) const {
  throw CommandError(file + ": " + line, status);
}

bool Document::Succeeded(std::uint32_t code) const {
  if (code == XmlOutOfMemory) throw std::bad_alloc();
  if (code != XmlSuccess && code != XmlNotFound)
    Fail("the library failed (result code " + std::to_string(code) + ")");
  return code == XmlSuccess;
}

void Document::Set(const SetCall& call, const char* itemType) const {
  const std::uint32_t code =
      SetXMLItem(list, cookie, call.path.c_str(), call.item.c_str(), itemType, call.value.c_str());
  const std::string& reason = record->file->WhyNotSaved();
  if (code == XmlFailure && !reason.empty()) {
    Fail(call.shown + ": not saved: " + FromLocale(reason).value_or("the file can't be written"));
  }
  Succeeded(code);
}

// The root's name stands in front so that a child's name that begins with the root's is not removed
// as the root. The path "&" has an empty name, which matches every child; no path by name gives the
// same ID.
Document::GroupId Document::OpenChild(const GroupId& parent, const Step& step,
                                      std::uint32_t occurrence) const {
  const bool isByName = occurrence > 0;
  const std::string path = isByName ? rootName + '\\' + ToLocale(step.name).value() : "&";
  // The digits of a 32-bit number. A longer ID would be cut, and could match another group.
  const std::size_t longestNumber = 10;
  if (!parent || parent->size() + 1 + path.size() + longestNumber >= GroupIdCapacity)
    return std::nullopt;
  char id[GroupIdCapacity] = {};
  std::copy(parent->begin(), parent->end(), id);
  const auto code = EnumXMLGroup(list, cookie, path.c_str(), isByName ? occurrence : step.position,
                                 id, sizeof id);
  return Succeeded(code) && record->elementMap->Find(id) == step.element ? GroupId(id)
                                                                         : std::nullopt;
}

// The group of the last of the first `steps` steps.
Document::GroupId Document::Open(const Place& place, std::size_t steps) const {
  GroupId group;
  if (steps > 0 && rootName.size() < GroupIdCapacity)
    group = ""; // a longer name cannot be passed as a group
  for (std::size_t i = 1; group && i < steps; ++i) group = OpenChild(group, place[i], 0);
  return group;
}

std::optional<std::string> Document::Read(const Place& place, const std::string& attribute) const {
  const auto& [element, name, number, position] = place.back();
  const bool isText = attribute.empty();
  const Ostrum::Attribute found = element.GetAttribute(attribute);
  if (!isText && found.IsNull()) return std::nullopt;
  const std::string inDocument = isText ? element.GetValue() : found.GetValue();
  auto value = ToLocale(inDocument); // its size is the buffer's
  if (!value) {
    Fail(PathOf(place) + ": the locale's character set (" + std::setlocale(LC_CTYPE, nullptr) +
         ") can't represent it");
  }
  // An attribute is read from its element's group, a text from the parent's.
  const GroupId group = Open(place, place.size() - (isText ? 1 : 0));
  const auto item = ToLocale(name), attributeName = ToLocale(attribute);
  if (!group || !item) return inDocument;
  const char* const type = isText ? "ELEMENT" : "ATTRIBUTE";
  const auto index = static_cast<std::int32_t>(isText ? number : 1);
  const auto capacity = static_cast<std::uint32_t>(value->size() + 1);
  const auto code =
      EnumXMLItem(list, cookie, (group->empty() ? rootName : *group).c_str(), item->c_str(), type,
                  index, attributeName->c_str(), type, value->data(), capacity);
  if (!Succeeded(code)) Fail(PathOf(place) + ": is not found where it is");
  return FromLocale(*value);
}
