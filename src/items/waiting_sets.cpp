// Applying requests. The own document and another program's version of the file go through the same
// functions; only finding the elements differs: by the caller's path in the former, by whole name
// and number in the latter.
#include "items/waiting_sets.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace {

using Ostrum::Element;

void Require(bool holds, const char* why) {
  if (!holds) throw std::invalid_argument(why);
}

void RequirePlace(const Element& element) {
  Require(element.CanBeChanged(),
          "the element comes from an entity, so it cannot be changed in the file");
}

Element Add(Element parent, const SetStep& step, ElementMap::KeyChain* key) {
  assert(parent.CanBeChanged());
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

// Identifies what a request sets, whatever the values. No name can contain the separators.
std::string TargetOf(const SetRequest& request) {
  std::string target;
  for (const SetStep& step : request.steps) {
    target.append("/").append(step.name.utf8).append("[").append(std::to_string(step.number));
    for (const SetAttribute& attribute : step.attributes)
      target.append("@").append(attribute.name.utf8);
  }
  if (request.text) target += '=';
  return target;
}

// Applies requests to one document, and remembers what they created. A created element is not
// counted among its siblings, because its number need not be the one that it has in the own
// document.
class Replay {
 public:
  explicit Replay(Ostrum::Document& ofDocument) : document(ofDocument) {}

  void Apply(const SetRequest& request) {
    StepElements found{document.GetRoot()};
    std::vector<Place*> path{&root};
    for (std::size_t i = 1; i < request.steps.size(); ++i) {
      path.push_back(&PlaceOf(*path.back(), request.steps[i]));
      if (found.size() < i) continue; // its parent is missing
      const Element element = Find(found.back(), request.steps[i], *path.back());
      if (!element.IsNull()) found.push_back(element);
    }
    RequireAllowed(request, document, found);
    const std::size_t present = found.size();
    const StepElements elements = ApplyRequest(request, std::move(found), nullptr);
    for (std::size_t i = present; i < elements.size(); ++i) path[i]->created = elements[i];
  }

 private:
  // An element's position in the own document.
  struct Place {
    std::size_t id = 0;
    Element created; // null if nothing was created for it
  };

  Place& PlaceOf(const Place& parent, const SetStep& step) {
    const std::string key =
        std::to_string(parent.id) + '/' + step.name.utf8 + '[' + std::to_string(step.number);
    return places.try_emplace(key, Place{places.size() + 1, {}}).first->second;
  }

  static Element Find(const Element& parent, const SetStep& step, const Place& place) {
    assert(step.number > 0); // it was located in the own document
    const Element found = parent.NthChild(Ostrum::NameMatch::Exact, step.name.utf8, step.number);
    if (found.IsNull() || found.IsCreated()) return place.created;
    return found;
  }

  Ostrum::Document& document;
  Place root;
  std::unordered_map<std::string, Place> places;
};

} // namespace

void RequireAllowed(const SetRequest& request, const Ostrum::Document& document,
                    const StepElements& found) {
  const std::vector<SetStep>& steps = request.steps;
  assert(!found.empty() && found.size() <= steps.size());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    std::string_view elementName = steps[i].name.utf8;
    if (i < found.size()) elementName = found[i].GetName();
    if (i < found.size() && !steps[i].attributes.empty()) RequirePlace(found[i]);
    for (const SetAttribute& each : steps[i].attributes) {
      Require(document.CanHold(elementName, each.name.utf8, each.value.utf8),
              "the attribute's declared type would change the value's white space");
    }
  }
  const bool createsChild = found.size() < steps.size();
  if (createsChild || request.text) RequirePlace(found.back());
  if (!createsChild && request.text) {
    Require(found.back().TextCanBeReplaced(),
            "the text refers to an entity that contains elements or is not known");
  }
}

StepElements ApplyRequest(const SetRequest& request, StepElements found,
                          ElementMap::KeyChain* key) {
  assert(!found.empty() && found.size() <= request.steps.size());
  for (std::size_t i = 0; i < request.steps.size(); ++i) {
    const SetStep& step = request.steps[i];
    const bool hasKey = key != nullptr && i > 0; // the root has an entry already
    if (hasKey && !key->IsEmpty()) key->Append("\\");
    if (hasKey) key->Append(step.name.given);
    if (i == found.size()) found.push_back(Add(found.back(), step, key));
    for (const SetAttribute& attribute : step.attributes) {
      found[i].SetAttribute(attribute.name.utf8, attribute.value.utf8);
      if (hasKey) EnterAttribute(attribute, found[i], *key);
    }
  }
  if (request.text) found.back().SetText(*request.text);
  return found;
}

const SetRequest& WaitingSets::Add(SetRequest request) {
  assert(!request.steps.empty() && request.steps.front().component.empty());
  request.target = TargetOf(request);
  requests.push_back(std::move(request));
  const auto isSame = [this](const SetRequest& each) {
    return each.target == requests.back().target;
  };
  const auto first = std::ranges::find_if(requests, isSame);
  const auto second = std::find_if(first + 1, requests.end(), isSame);
  if (second < requests.end() - 1) requests.erase(second);
  return requests.back();
}

void WaitingSets::ApplyTo(Ostrum::Document& other) const {
  Replay replay(other);
  for (const SetRequest& request : requests) {
    try {
      replay.Apply(request);
    } catch (const std::invalid_argument&) {
      if (&request == &requests.back()) throw;
    }
  }
}

void WaitingSets::HaveReachedFile() noexcept { requests.clear(); }
