// The exported function that sets an item and saves the document.
#include <cassert>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "items/set_request.h"
#include "items/waiting_sets.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// Parsing the request has already split the component. The calls that trace this are made when the
// walk reaches it.
void TraceCuts(const SetStep& step) {
  if (!corekit::SinkIsSet()) return;
  ReturnTokenFromString(step.component.c_str(), '\\');
  const char* const attributePart = ReturnTokenFromString(step.component.c_str(), '&');
  if (attributePart != nullptr) ReturnTokenFromString(attributePart, '=');
}

// Finds a child with the log lines of a path search. Throws if the search does, since otherwise an
// existing child could be created again.
Element FindLogged(const Element& parent, const SetStep& step) {
  TraceCuts(step);
  // In an element without children, the search would return the element itself.
  if (parent.FirstChild().IsNull()) return {};
  return FindElementByPath(parent, step.name.given.c_str(), 1);
}

// The existing elements of the request's first steps. At each step, takes the first child whose
// name begins with the step's name.
StepElements FindSteps(const SetRequest& request, Ostrum::Document& document) {
  StepElements found{document.GetRoot()};
  for (std::size_t i = 1; i < request.steps.size(); ++i) {
    if (found.size() < i) {
      TraceCuts(request.steps[i]);
      continue;
    }
    const Element element = FindLogged(found.back(), request.steps[i]);
    if (!element.IsNull()) found.push_back(element);
  }
  return found;
}

// Gives each step its element's whole name and its number among its siblings of that name, so that
// the request means the same in another document, whatever the locale is then.
void Locate(SetRequest& request, const StepElements& found) {
  assert(!found.empty() && found.size() <= request.steps.size());
  for (std::size_t i = 1; i < request.steps.size(); ++i) {
    SetStep& step = request.steps[i];
    step.number = 1;
    if (i < found.size()) {
      step.name.utf8 = found[i].GetName();
      // The search took the first child that matches, so it is the first of its own name.
      assert(found[i - 1].NthChild(Ostrum::NameMatch::Exact, step.name.utf8, 1) == found[i]);
    } else if (i == found.size()) {
      // In some character sets, elements of that name have another spelling, and are not found.
      step.number += found[i - 1].CountChildren(step.name.utf8);
    }
  }
}

// Changes the document, either by the whole request or not at all, and then the file.
void SetAndSave(SetRequest request, XmlFileRecord& record) {
  assert(record.file != nullptr && !request.steps.empty());
  StepElements found = FindSteps(request, *record.document);
  RequireAllowed(request, *record.document, found);
  Locate(request, found);
  if (record.waitingSets == nullptr) record.waitingSets = std::make_unique<WaitingSets>();
  auto& waiting = static_cast<WaitingSets&>(*record.waitingSets);
  // Add first, so that running out of memory while the document is changed cannot lose a change.
  const SetRequest& added = waiting.Add(std::move(request));
  ElementMap::KeyChain key(*record.elementMap, added.maxKeyLength);
  ApplyRequest(added, std::move(found), &key);
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
  if (record->document->GetRoot().IsNull()) return XmlInvalidArgument;
  try {
    SetAndSave(ParseSetRequest(*record, path, itemName, itemType, value), *record);
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
