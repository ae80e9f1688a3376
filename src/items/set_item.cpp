// The exported function that sets an item and saves the document.
#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/ostrumxml/file.h"
#include "host/ostrumxml/references.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "platform/platform.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// A caller's text, as given and in UTF-8. Both are needed: log lines, searches and keys take it as given.
struct SetText {
  std::string given;
  std::string utf8;
};

struct SetAttribute {
  SetText name;
  SetText value;
};

// An element on the way from the root to the item, the root first, and the attributes that it gets.
struct SetStep {
  std::string component; // of the path; empty for the root
  SetText name;          // empty for the root
  std::vector<SetAttribute> attributes;
};

// What a call of SetXMLItem asks for: cut, checked and converted as a whole, before any of it is done. It depends on no document,
// so it can be carried out on another one as well.
struct SetRequest {
  std::vector<SetStep> steps;      // at least the root's
  std::optional<std::string> text; // for the last step's element, in UTF-8
  std::string target;              // equal for requests that set the same item
  std::size_t longestKey = 0;      // in the element map, of an element that the request leads to
};

std::string WithoutRoot(const XmlFileRecord& record, const char* path) {
  std::string rest(path);
  std::exception_ptr failure;
  const bool hasRoot = IsRootInPath(record, path, &failure) == 1;
  if (failure) std::rethrow_exception(failure); // else a second root could be made below the root
  if (!hasRoot) return rest;
  RemoveRootFromBeginningOfPath(path, rest.data(), static_cast<std::uint32_t>(rest.size() + 1));
  rest.resize(std::strlen(rest.c_str()));
  return rest;
}

SetText Converted(std::string given) {
  const DocumentText converted(given.c_str());
  if (!converted.Text()) throw std::invalid_argument("not text in the locale's character set");
  std::string utf8(*converted.Text());
  return {std::move(given), std::move(utf8)};
}

SetText Value(std::string given) {
  SetText value = Converted(std::move(given));
  if (!Ostrum::IsXmlText(value.utf8)) throw std::invalid_argument("a character that XML can't carry");
  return value;
}

SetAttribute Attribute(std::string name, std::string value) {
  SetAttribute attribute{Converted(std::move(name)), Value(std::move(value))};
  if (!Ostrum::IsXmlName(attribute.name.utf8)) throw std::invalid_argument("not an XML name");
  return attribute;
}

// Checked even if the element exists: a name in a document never begins with something that is not a name.
SetText ElementName(std::string given) {
  SetText name = Converted(std::move(given));
  if (Ostrum::IsXmlName(name.utf8)) return name;
  LogError(L"Failed to add element to parent node. Cannot continue");
  throw std::invalid_argument("not an XML name");
}

// Returns the text up to the first separator and moves rest behind it; without one, returns all of it and sets rest to null.
std::string Cut(const char*& rest, char separator) {
  const char* const start = rest;
  rest = platform::MbsFindChar(start, separator);
  return rest == nullptr ? std::string(start) : std::string(start, rest++);
}

SetStep Step(std::string component) {
  const char* rest = component.c_str();
  SetStep step{{}, ElementName(Cut(rest, '&')), {}};
  std::string attributeName = rest == nullptr ? std::string() : Cut(rest, '=');
  // An attribute part without a name or without a value is ignored.
  if (!attributeName.empty() && rest != nullptr && *rest != '\0') {
    step.attributes.push_back(Attribute(std::move(attributeName), rest));
  }
  step.component = std::move(component);
  return step;
}

// Throws std::invalid_argument when a name or value can't be carried by XML or is no text in the locale, or a component has no
// name; std::length_error when the texts are longer than a path can be; std::bad_alloc. Nothing is changed.
SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName, const char* itemType,
                           const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr) {
    throw std::invalid_argument("a text that is needed is null");
  }
  constexpr std::size_t longest = UINT32_MAX - 2; // besides a separator and the end
  if (std::strlen(path) + std::strlen(itemName) > longest) throw std::length_error("path");
  SetRequest request;
  std::string rest = WithoutRoot(record, path);
  if (std::string_view(itemType) == "ELEMENT") {
    if (!rest.empty()) rest += '\\';
    rest += itemName;
    if (rest.empty()) throw std::invalid_argument("an element item without a name");
    request.text = Value(value).utf8;
  }
  request.target = rest + '\n' + itemType;
  request.longestKey = rest.size();
  request.steps.emplace_back();
  for (const char* next = rest.empty() ? nullptr : rest.c_str(); next != nullptr;) {
    request.steps.push_back(Step(Cut(next, '\\')));
  }
  if (std::string_view(itemType) == "ATTRIBUTE" && *itemName != '\0' && *value != '\0') {
    request.steps.back().attributes.push_back(Attribute(itemName, value));
    request.target.append("\n").append(itemName);
    request.longestKey += std::strlen(itemName) + std::strlen(value) + std::strlen("&=");
  }
  return request;
}

// The request was cut when it was parsed. The cuts are traced here, where the walk meets each component.
void TraceCuts(const SetStep& step) {
  if (!corekit::SinkIsSet()) return;
  ReturnTokenFromString(step.component.c_str(), nullptr, 0, "\\");
  const char* const attributePart = ReturnTokenFromString(step.component.c_str(), nullptr, 0, "&");
  if (attributePart != nullptr) ReturnTokenFromString(attributePart, nullptr, 0, "=");
}

void Require(bool holds, const char* why) {
  if (!holds) throw std::invalid_argument(why);
}

void RequirePlace(const Element& element) {
  Require(element.CanBeChanged(), "the element stands in an entity's text and has no place of its own in the file");
}

void Set(Element& element, const SetAttribute& attribute) {
  Ostrum::Attribute target = element.GetAttribute(attribute.name.utf8);
  if (target.IsNull()) target = element.CreateAttribute(attribute.name.utf8);
  static_cast<Ostrum::Value>(target).Set(attribute.value.utf8);
}

Element& Add(Element& parent, const SetStep& step, ElementMap::KeyChain* key) {
  // The entry comes first: an element that was made, but not entered, would be found by the next set and never get its
  // key.
  if (key != nullptr) key->Prepare();
  Element& child = parent.AddElementInto(step.name.utf8);
  if (child.IsNull()) {
    LogError(L"Failed to add element to parent node. Cannot continue");
    throw std::runtime_error("the element was refused");
  }
  if (key != nullptr) key->Enter(child, true);
  return child;
}

void EnterAttribute(const SetAttribute& attribute, Element& element, ElementMap::KeyChain& key) {
  for (const std::string_view part : {"&", attribute.name.given.c_str(), "=", attribute.value.given.c_str()}) {
    key.Append(part);
  }
  key.Prepare();
  key.Enter(element, false);
}

// Carries a request out on a document: goes from the root to the element that it names, taking at each step the first child
// whose name begins with the step's, and makes what is missing.
class SetWalk {
 public:
  // Gives the child, or null where it must be made; null also for the children of null, which must all be made.
  using FindChild = std::function<Element*(Element* parent, const SetStep& step)>;

  // Finds what is there and checks all of the request before anything is changed. Throws std::invalid_argument when the
  // document refuses a part of it, what the search throws, or std::bad_alloc. Both must outlive this object.
  SetWalk(const SetRequest& setRequest, Ostrum::Document& ofDocument, const FindChild& findChild)
      : request(setRequest), document(ofDocument), found{&ofDocument.GetRoot()} {
    Element* element = found.front();
    for (std::size_t i = 1; i < request.steps.size(); ++i) {
      element = findChild(element, request.steps[i]);
      if (element != nullptr) found.push_back(element);
    }
    Check();
  }

  // The elements of the first steps that are there already; at least the root.
  const std::vector<Element*>& Found() const noexcept { return found; }

  // Makes the changes. If a key is given, an empty one for request.longestKey bytes, the elements that it makes, and those
  // whose attributes it sets, are entered into the key's map under the path that led there. Throws std::bad_alloc; what was
  // done before stays. Call once.
  void CarryOut(ElementMap::KeyChain* key) const {
    assert(!found.empty() && found.size() <= request.steps.size());
    Element* current = found.front();
    for (std::size_t i = 0; i < request.steps.size(); ++i) {
      const SetStep& step = request.steps[i];
      const bool hasKey = key != nullptr && i > 0; // the root has its entry
      if (hasKey && !key->IsEmpty()) key->Append("\\");
      if (hasKey) key->Append(step.name.given);
      current = i < found.size() ? found[i] : &Add(*current, step, key);
      for (const SetAttribute& attribute : step.attributes) {
        Set(*current, attribute);
        if (hasKey) EnterAttribute(attribute, *current, *key);
      }
    }
    if (request.text) static_cast<Ostrum::Value>(*current).Set(*request.text);
  }

 private:
  void Check() const {
    const std::vector<SetStep>& steps = request.steps;
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Element* const element = i < found.size() ? found[i] : nullptr;
      if (element != nullptr && !steps[i].attributes.empty()) RequirePlace(*element);
      for (const SetAttribute& each : steps[i].attributes) {
        const std::string_view elementName = element != nullptr ? element->GetName() : steps[i].name.utf8;
        Require(document.CanHold(elementName, each.name.utf8, each.value.utf8),
                "the attribute's declared type would fold the value's blanks");
      }
    }
    const bool makesChild = found.size() < steps.size();
    if (makesChild || request.text) RequirePlace(*found.back());
    if (!makesChild && request.text) {
      Require(found.back()->TextCanBeReplaced(), "an entity that holds elements is referred to in the text");
    }
  }

  const SetRequest& request;
  Ostrum::Document& document;
  std::vector<Element*> found; // of the first steps, the root at least
};

// Finds as callers see it, with the lines of a path search. A search that failed may have missed a child: it must not lead to
// a second one.
Element* FindLogged(Element* parent, const SetStep& step) {
  TraceCuts(step);
  // In an element without children the search would take the element itself.
  if (parent == nullptr || parent->Begin() == parent->End()) return nullptr;
  std::exception_ptr failure;
  Element* const child = FindElementByPath(parent, step.name.given.c_str(), 1, &failure);
  if (failure) std::rethrow_exception(failure);
  return child->IsNull() ? nullptr : child;
}

// Finds what FindLogged would, in another program's text, and logs nothing. An element that this document made is matched by its
// exact name: one whose name only begins so is another element.
Element* FindSilently(Element* parent, const SetStep& step, bool isMade) {
  if (parent == nullptr) return nullptr;
  const auto match = isMade ? Ostrum::NameMatch::Exact : Ostrum::NameMatch::Prefix;
  for (std::uint32_t n = 1;; ++n) {
    Element& child = parent->NthChild(match, step.name.utf8, n);
    if (child.IsNull()) return nullptr;
    if (HasLocaleForm(child.GetName())) return &child;
  }
}

// Changes the document, which refuses all of the request or nothing, and then the file.
void SetAndSave(const std::shared_ptr<SetRequest>& request, XmlFileRecord& record) try {
  const SetWalk walk(*request, *record.document, FindLogged);
  const auto firstMade = std::ranges::find_if(walk.Found(), &Element::IsCreated);
  const auto parsedSteps = static_cast<std::size_t>(firstMade - walk.Found().begin());
  // An earlier set may have made an element whose name only begins with the step's.
  for (std::size_t i = parsedSteps; i < walk.Found().size(); ++i) {
    request->steps[i].name.utf8 = walk.Found()[i]->GetName();
  }
  const auto findInOther = [request, parsedSteps](Element* parent, const SetStep& step) {
    return FindSilently(parent, step, &step >= request->steps.data() + parsedSteps);
  };
  record.file->Await({request->target, [request, findInOther](Ostrum::Document& other) {
                        SetWalk(*request, other, findInOther).CarryOut(nullptr);
                      }});
  ElementMap::KeyChain key(*record.elementMap, request->longestKey);
  walk.CarryOut(&key);
  record.file->Save(*record.document);
} catch (const std::bad_alloc&) {
  throw;
} catch (const std::exception& failure) {
  // Callers only get the code.
  corekit::logDetail(L"ostrumxml", corekit::KString(failure.what()));
  throw;
}

} // namespace

std::uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path, const char* itemName,
                                     const char* itemType, const char* value) {
  const Trace trace(L"SetXMLItem");
  XmlFileRecord* record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) {
    LogError(L"Failed to get the xml representation for the xml with id ", cookie);
    return XmlNotFound;
  }
  if (record->document->GetRoot().IsNull()) return XmlInvalidArgument;
  try {
    const auto request = std::make_shared<SetRequest>(ParseSetRequest(*record, path, itemName, itemType, value));
    SetAndSave(request, *record);
    return XmlSuccess;
  } catch (const std::bad_alloc&) {
    LogError(L"Failed to allocate memory for tokens");
    return XmlOutOfMemory;
  } catch (...) {
    LogError(L"Unknown error while setting xml");
    return XmlFailure;
  }
}
