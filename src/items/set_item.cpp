// The exported function that sets an item and saves the document. All that can be refused without
// looking at the document is refused first, and the rest before anything is changed.
#include <cassert>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "host/ostrumxml/data/xml_text.h"
#include "items/waiting_sets.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "platform/platform.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

class InvalidElementName : public std::invalid_argument {
  using std::invalid_argument::invalid_argument;
};

std::string InUtf8(const char* given) {
  const DocumentText converted(given);
  if (!converted.Text())
    throw std::invalid_argument("a name or value is not valid text in the caller's character set");
  return std::string(*converted.Text());
}

std::string Value(const char* given) {
  std::string value = InUtf8(given);
  if (!Ostrum::IsXmlText(value))
    throw std::invalid_argument(
        "the value contains a character that XML does not allow, such as a control character");
  return value;
}

// Adds an attribute to the last step.
void AddAttribute(SetRequest& request, const char* name, const char* value) {
  SetAttribute attribute{InUtf8(name), Value(value)};
  if (!Ostrum::IsXmlName(attribute.name))
    throw std::invalid_argument("the attribute's name is not a valid XML name");
  request.key.append("&").append(name).append("=").append(value);
  attribute.keyLength = request.key.size();
  request.steps.back().attributes.push_back(std::move(attribute));
}

// Returns the text before the first separator and moves rest after it; if there is none, returns
// all and sets rest to null.
std::string Cut(const char*& rest, char separator) {
  assert(rest != nullptr);
  const char* const start = rest;
  rest = platform::MbsFindChar(start, separator);
  if (rest == nullptr) return start;
  return {start, rest++};
}

// The name is checked without looking whether the element exists: no name in a document begins with
// an invalid name.
void AddStep(SetRequest& request, const std::string& component) {
  SetStep& step = request.steps.emplace_back();
  step.component = component;
  const char* rest = component.c_str();
  step.given = Cut(rest, '&');
  step.name = InUtf8(step.given.c_str());
  if (!Ostrum::IsXmlName(step.name))
    throw InvalidElementName("an element's name is empty or not a valid XML name");
  if (!request.key.empty()) request.key += '\\';
  step.keyLength = request.key.append(step.given).size();
  if (rest == nullptr) return;
  const std::string attributeName = Cut(rest, '=');
  // An attribute part without a name or without a value is ignored.
  if (!attributeName.empty() && rest != nullptr && *rest != '\0')
    AddAttribute(request, attributeName.c_str(), rest);
}

// Adds a step for each component.
void AddSteps(SetRequest& request, const char* path) {
  while (path != nullptr) AddStep(request, Cut(path, '\\'));
}

// Throws std::invalid_argument if a name or value is not allowed in XML or is not text in the
// locale, or if a component has no name, and std::bad_alloc. Throws also if it cannot be told
// whether the path begins with the root: otherwise a second root could be created below the root.
// Path and item name are never joined: half a character at the path's end would take the "\" in.
SetRequest Parse(const XmlFileRecord& record, const char* path, const char* itemName,
                 const char* itemType, const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr)
    throw std::invalid_argument("a path, item name, item type or value is null");
  if (IsRootInPath(record, path)) path = RemoveRootFromBeginningOfPath(path);
  SetRequest request;
  request.steps.emplace_back();
  if (*path != '\0') AddSteps(request, path);
  const std::string_view type = itemType;
  if (type == "ELEMENT") {
    AddSteps(request, itemName);
    request.text = Value(value);
  }
  if (type == "ATTRIBUTE") {
    request.steps.back().component.append("&").append(itemName).append("=");
    if (*itemName != '\0' && *value != '\0') AddAttribute(request, itemName, value);
  }
  return request;
}

// Parsing the request has already split the component. The calls that trace this are made when the
// walk reaches it.
void TraceCuts(const SetStep& step) {
  if (!corekit::SinkIsSet()) return;
  ReturnTokenFromString(step.component.c_str(), '\\');
  const char* const attributePart = ReturnTokenFromString(step.component.c_str(), '&');
  if (attributePart != nullptr) ReturnTokenFromString(attributePart, '=');
}

// Finds the existing elements of the first steps, with the log lines of a path search: at each
// step, the first child whose name begins with the step's name. Gives each step its element's whole
// name and its number among its siblings of that name, so that the request means the same in
// another document, whatever the locale is then. Throws if the search does, since otherwise an
// existing child could be created again.
StepElements FindSteps(SetRequest& request, XmlFileRecord& record) {
  StepElements found{record.document->GetRoot()};
  request.steps.front().name = found.front().GetName();
  for (std::size_t i = 1; i < request.steps.size(); ++i) {
    SetStep& step = request.steps[i];
    TraceCuts(step);
    if (found.size() < i) continue;
    const Ostrum::Element parent = found.back();
    Ostrum::Element element;
    // In an element without children, the search would return the element itself.
    if (!parent.FirstChild().IsNull())
      element = FindElementByPath(parent, step.given.c_str(), 1, record.knownParent);
    if (element.IsNull()) {
      // In some character sets, elements of that name have another spelling, and are not found.
      step.number += parent.CountChildren(step.name);
      continue;
    }
    step.name = element.GetName();
    // The search took the first child that matches, so it is the first of its own name.
    assert(parent.NthChild(Ostrum::NameMatch::Exact, step.name, 1) == element);
    found.push_back(element);
  }
  return found;
}

// The lengths of the keys to be entered: those of the steps that are not found, and of attributes.
std::vector<std::size_t> KeyLengths(const SetRequest& request, std::size_t foundSteps) {
  std::vector<std::size_t> lengths;
  for (std::size_t i = 1; i < request.steps.size(); ++i) { // the root has an entry already
    const SetStep& step = request.steps[i];
    if (i >= foundSteps) lengths.push_back(step.keyLength);
    for (const SetAttribute& attribute : step.attributes) lengths.push_back(attribute.keyLength);
  }
  return lengths;
}

// Changes the document, either by the whole request or not at all, and then the file.
void SetAndSave(SetRequest request, XmlFileRecord& record) {
  assert(record.file != nullptr && !request.steps.empty());
  StepElements elements = FindSteps(request, record);
  RequireAllowed(request, *record.document, elements);
  // All that can fail comes first. If entering a key could fail later, the next set would find the
  // new element and never enter its key; if adding the request could, a change could be lost.
  const std::vector<std::uint32_t> entries =
      record.elementMap->AddPrefixes(request.key, KeyLengths(request, elements.size()));
  if (record.waitingSets == nullptr) record.waitingSets = std::make_unique<WaitingSets>();
  auto& waiting = static_cast<WaitingSets&>(*record.waitingSets);
  const SetRequest& added = waiting.Add(std::move(request));
  auto entry = entries.begin();
  ApplyRequest(added, elements, [&](std::size_t i, bool isCreated) {
    if (i > 0) record.elementMap->Enter(*entry++, elements[i], isCreated);
  });
  record.file->Save(*record.document, waiting);
}

} // namespace

std::uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path,
                                     const char* itemName, const char* itemType,
                                     const char* value) {
  const CharsetScope charset;
  const Trace trace(L"SetXMLItem");
  XmlFileRecord* record = FindXmlFile(list, cookie);
  if (record == nullptr) {
    LogError(L"Failed to get the xml representation for the xml with id ", cookie);
    return XmlNotFound;
  }
  try {
    SetAndSave(Parse(*record, path, itemName, itemType, value), *record);
    return XmlSuccess;
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
    LogError(L"Failed to allocate memory for tokens");
    return XmlOutOfMemory;
  } catch (const InvalidElementName& failure) {
    LogReason(failure.what());
    LogError(L"Failed to add element to parent node. Cannot continue");
  } catch (const std::exception& failure) {
    LogReason(failure.what());
  } catch (...) {
    LogReason(unknownReason);
  }
  LogError(L"Unknown error while setting xml");
  return XmlFailure;
}
