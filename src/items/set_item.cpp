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

#include "host/ostrumxml/data/xml_text.h"
#include "host/ostrumxml/file.h"
#include "paths/item_path.h"
#include "paths/path_search.h"
#include "platform/platform.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

using Ostrum::Element;

// A caller's text, as given, for log lines, searches and keys, and in UTF-8, for the document.
struct SetText {
  std::string given;
  std::string utf8;
};

struct SetAttribute {
  SetText name;
  SetText value;
};

// An element on the path from the root to the item, and the attributes to be set on it.
struct SetStep {
  std::string component; // of the path; empty for the root
  SetText name;          // empty for the root
  std::vector<SetAttribute> attributes;
};

// The arguments of SetXMLItem, completely parsed, checked and converted before anything is changed.
// Since it does not depend on a document, a request can be carried out on another one as well.
struct SetRequest {
  std::vector<SetStep> steps;      // from the root, which is always there
  std::optional<std::string> text; // for the last step's element, in UTF-8
  std::string target;              // equal for requests that set the same item
  std::size_t longestKey =
      0; // length of the longest key that the request can add to the element map
};

std::string WithoutRoot(const XmlFileRecord& record, const char* path) {
  std::string rest(path);
  std::exception_ptr failure;
  const bool hasRoot = IsRootInPath(record, path, &failure) == 1;
  if (failure)
    std::rethrow_exception(failure); // otherwise a second root could be created below the root
  if (!hasRoot) return rest;
  RemoveRootFromBeginningOfPath(path, rest.data(), static_cast<std::uint32_t>(rest.size() + 1));
  rest.resize(std::strlen(rest.c_str()));
  return rest;
}

class InvalidElementName : public std::invalid_argument {
  using std::invalid_argument::invalid_argument;
};

SetText Converted(std::string given) {
  const DocumentText converted(given.c_str());
  if (!converted.Text()) {
    throw std::invalid_argument("a name or value is not valid text in the locale's character set");
  }
  std::string utf8(*converted.Text());
  return {std::move(given), std::move(utf8)};
}

SetText Value(std::string given) {
  SetText value = Converted(std::move(given));
  if (!Ostrum::IsXmlText(value.utf8))
    throw std::invalid_argument(
        "the value contains a character that XML does not allow, such as a "
        "control character");
  return value;
}

SetAttribute Attribute(std::string name, std::string value) {
  SetAttribute attribute{Converted(std::move(name)), Value(std::move(value))};
  if (!Ostrum::IsXmlName(attribute.name.utf8))
    throw std::invalid_argument("the attribute's name is not a valid XML name");
  return attribute;
}

// Checked without looking whether the element exists: no name in a document begins with an invalid
// name.
SetText ElementName(std::string given) {
  SetText name = Converted(std::move(given));
  if (Ostrum::IsXmlName(name.utf8)) return name;
  throw InvalidElementName("an element's name is empty or not a valid XML name");
}

// Returns the text before the first separator and moves rest behind it; if there is none, returns
// all and sets rest to null.
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

// Throws std::invalid_argument if a name or value is not allowed in XML or is not text in the
// locale, or if a component has no name; std::length_error if the texts are too long for a path;
// std::bad_alloc. Changes nothing.
SetRequest ParseSetRequest(const XmlFileRecord& record, const char* path, const char* itemName,
                           const char* itemType, const char* value) {
  if (path == nullptr || itemName == nullptr || itemType == nullptr || value == nullptr) {
    throw std::invalid_argument("a path, item name, item type or value is null");
  }
  constexpr std::size_t longest =
      UINT32_MAX - 2; // leaves room for a separator and the terminating zero
  if (std::strlen(path) + std::strlen(itemName) > longest)
    throw std::length_error("the path is too long");
  SetRequest request;
  std::string rest = WithoutRoot(record, path);
  if (std::string_view(itemType) == "ELEMENT") {
    if (!rest.empty()) rest += '\\';
    rest += itemName;
    if (rest.empty()) throw std::invalid_argument("the item has no name");
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

// Parsing the request has already split the component. The calls that trace this are made when the
// walk reaches it.
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
  Require(element.CanBeChanged(),
          "the element comes from an entity, so it cannot be changed in the file");
}

void Set(Element element, const SetAttribute& attribute) {
  Ostrum::Attribute target = element.GetAttribute(attribute.name.utf8);
  if (target.IsNull()) target = element.CreateAttribute(attribute.name.utf8);
  static_cast<Ostrum::Value>(target).Set(attribute.value.utf8);
}

Element Add(Element parent, const SetStep& step, ElementMap::KeyChain* key) {
  // Prepare first: if entering the key could fail later, the next set would find the new element
  // and never enter its key.
  if (key != nullptr) key->Prepare();
  const Element child = parent.AddElementInto(step.name.utf8);
  if (child.IsNull()) {
    throw InvalidElementName("the element's name was refused");
  }
  if (key != nullptr) key->Enter(child);
  return child;
}

void EnterAttribute(const SetAttribute& attribute, const Element& element,
                    ElementMap::KeyChain& key) {
  for (const std::string_view part :
       {"&", attribute.name.given.c_str(), "=", attribute.value.given.c_str()}) {
    key.Append(part);
  }
  if (key.IsEntered()) return; // under the first element that it led to
  key.Prepare();
  key.Enter(element);
}

// Carries out a request on a document: walks from the root to the element that the request names,
// taking at each step the first child whose name begins with the step's name, and creates what is
// missing.
class SetWalk {
 public:
  // Returns the child, or the null element if it must be created. parent is null if it must be
  // created itself.
  using FindChild = std::function<Element(const Element& parent, const SetStep& step)>;

  // Finds the existing elements and checks the whole request before anything is changed. Throws
  // std::invalid_argument if the document does not allow a part of it, what the search throws, or
  // std::bad_alloc. Request and document must outlive this.
  SetWalk(const SetRequest& setRequest, Ostrum::Document& ofDocument, const FindChild& findChild)
      : request(setRequest), document(ofDocument), found{ofDocument.GetRoot()} {
    Element element = found.front();
    for (std::size_t i = 1; i < request.steps.size(); ++i) {
      element = findChild(element, request.steps[i]);
      if (!element.IsNull()) found.push_back(element);
    }
    Check();
  }

  // The existing elements, of the first steps; at least the root.
  const std::vector<Element>& Found() const noexcept { return found; }

  // Makes the changes. If a key is given, which must be empty and have room for request.longestKey
  // bytes, enters created elements and elements whose attributes are set into the key's map under
  // their paths. Throws std::bad_alloc; changes made until then remain. Call once.
  void CarryOut(ElementMap::KeyChain* key) const {
    assert(!found.empty() && found.size() <= request.steps.size());
    Element current = found.front();
    for (std::size_t i = 0; i < request.steps.size(); ++i) {
      const SetStep& step = request.steps[i];
      const bool hasKey = key != nullptr && i > 0; // the root has an entry already
      if (hasKey && !key->IsEmpty()) key->Append("\\");
      if (hasKey) key->Append(step.name.given);
      current = i < found.size() ? found[i] : Add(current, step, key);
      for (const SetAttribute& attribute : step.attributes) {
        Set(current, attribute);
        if (hasKey) EnterAttribute(attribute, current, *key);
      }
    }
    if (request.text) static_cast<Ostrum::Value>(current).Set(*request.text);
  }

 private:
  void Check() const {
    const std::vector<SetStep>& steps = request.steps;
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Element element = i < found.size() ? found[i] : Element();
      if (!element.IsNull() && !steps[i].attributes.empty()) RequirePlace(element);
      for (const SetAttribute& each : steps[i].attributes) {
        const std::string_view elementName =
            element.IsNull() ? steps[i].name.utf8 : element.GetName();
        Require(document.CanHold(elementName, each.name.utf8, each.value.utf8),
                "the attribute's declared type would change the value's white space");
      }
    }
    const bool makesChild = found.size() < steps.size();
    if (makesChild || request.text) RequirePlace(found.back());
    if (!makesChild && request.text) {
      Require(found.back().TextCanBeReplaced(),
              "an entity that holds elements is referred to in the text");
    }
  }

  const SetRequest& request;
  Ostrum::Document& document;
  std::vector<Element> found;
};

// Finds a child with the log lines of a path search. If the search fails, throws, since otherwise
// an existing child could be created again.
Element FindLogged(const Element& parent, const SetStep& step) {
  TraceCuts(step);
  // In an element without children, the search would return the element itself.
  if (parent.FirstChild().IsNull()) return {};
  std::exception_ptr failure;
  const Element child = FindElementByPath(parent, step.name.given.c_str(), 1, &failure);
  if (failure) std::rethrow_exception(failure);
  return child;
}

// Finds the same child as FindLogged, in text of another program, without log lines. An element
// that this document created (isMade) is matched by its exact name, since one whose name only
// begins with it is another element.
Element FindSilently(const Element& parent, const SetStep& step, bool isMade) {
  const auto match = isMade ? Ostrum::NameMatch::Exact : Ostrum::NameMatch::Prefix;
  for (std::uint32_t n = 1;; ++n) {
    const Element child = parent.NthChild(match, step.name.utf8, n);
    if (child.IsNull() || HasLocaleForm(child.GetName())) return child;
  }
}

// The sets of one document that have not reached its file.
class WaitingSets final : public Ostrum::PendingChanges {
 public:
  struct Set {
    std::string target; // of sets with equal targets, only the first and the last count
    std::function<void(Ostrum::Document&)> apply;
  };

  void Add(Set set) {
    sets.reserve(sets.size() + 1);
    const auto isEarlier = [&](const Set& earlier) { return earlier.target == set.target; };
    const auto first = std::find_if(sets.begin(), sets.end(), isEarlier);
    if (first != sets.end())
      sets.erase(std::remove_if(first + 1, sets.end(), isEarlier), sets.end());
    sets.push_back(std::move(set));
  }

  void ApplyTo(Ostrum::Document& other) const override {
    for (const Set& set : sets) {
      try {
        set.apply(other);
      } catch (const std::bad_alloc&) {
        throw;
      } catch (const std::exception&) {
        if (&set == &sets.back()) throw;
      }
    }
  }

  void HaveReachedFile() noexcept override { sets.clear(); }

 private:
  std::vector<Set> sets;
};

// Changes the document, either by the whole request or not at all, and then the file.
void SetAndSave(const std::shared_ptr<SetRequest>& request, XmlFileRecord& record) {
  if (record.waitingSets == nullptr) record.waitingSets = new WaitingSets;
  auto& waiting = static_cast<WaitingSets&>(*record.waitingSets);
  const SetWalk walk(*request, *record.document, FindLogged);
  const auto firstMade = std::ranges::find_if(walk.Found(), &Element::IsCreated);
  const auto parsedSteps = static_cast<std::size_t>(firstMade - walk.Found().begin());
  // The step's name may be only the beginning of the name of an element that an earlier set
  // created.
  for (std::size_t i = parsedSteps; i < walk.Found().size(); ++i) {
    request->steps[i].name.utf8 = walk.Found()[i].GetName();
  }
  const auto findInOther = [request, parsedSteps](const Element& parent, const SetStep& step) {
    return FindSilently(parent, step, &step >= request->steps.data() + parsedSteps);
  };
  waiting.Add({request->target, [request, findInOther](Ostrum::Document& other) {
                 SetWalk(*request, other, findInOther).CarryOut(nullptr);
               }});
  ElementMap::KeyChain key(*record.elementMap, request->longestKey);
  walk.CarryOut(&key);
  record.file->Save(*record.document, waiting);
}

} // namespace

std::uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, std::uint32_t cookie, const char* path,
                                     const char* itemName, const char* itemType,
                                     const char* value) {
  const Trace trace(L"SetXMLItem");
  XmlFileRecord* record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) {
    LogError(L"Failed to get the xml representation for the xml with id ", cookie);
    return XmlNotFound;
  }
  if (record->document->GetRoot().IsNull()) return XmlInvalidArgument;
  try {
    const auto request =
        std::make_shared<SetRequest>(ParseSetRequest(*record, path, itemName, itemType, value));
    SetAndSave(request, *record);
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
