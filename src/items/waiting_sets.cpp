// Applying requests. The own document and another program's version of the file go through the same
// functions; only finding the elements differs: by the caller's path in the former, by whole name
// and number in the latter.
#include "items/waiting_sets.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>

namespace {

using Ostrum::Element;

void Require(bool holds, const char* why) {
  if (!holds) throw std::invalid_argument(why);
}

void RequireChangeable(const Element& element) {
  Require(element.CanBeChanged(),
          "the element comes from an entity, so it cannot be changed in the file");
}

// Whether both set the same, whatever the values.
bool SetTheSame(const SetRequest& left, const SetRequest& right) {
  const auto isSameStep = [](const SetStep& a, const SetStep& b) {
    return a.number == b.number && a.name == b.name &&
           std::ranges::equal(a.attributes, b.attributes, {}, &SetAttribute::name,
                              &SetAttribute::name);
  };
  return left.text.has_value() == right.text.has_value() &&
         std::ranges::equal(left.steps, right.steps, isSameStep);
}

// Applies requests to one document, and remembers what they created. A created element is not
// counted among its siblings, because its number need not be the one that it has in the own
// document.
class Replay {
 public:
  explicit Replay(Ostrum::Document& ofDocument) : document(ofDocument) {}

  void Apply(const SetRequest& request) {
    StepElements elements{document.GetRoot()};
    while (elements.size() < request.steps.size()) {
      const Element element = Find(elements.back(), request.steps[elements.size()]);
      if (element.IsNull()) break;
      elements.push_back(element);
    }
    RequireAllowed(request, document, elements);
    ApplyRequest(request, elements, [&](std::size_t i, bool isCreated) {
      if (isCreated) created[PlaceOf(elements[i - 1], request.steps[i])] = elements[i];
    });
  }

 private:
  // An element's position in the own document: its parent's counterpart here, name and number.
  using Place = std::tuple<Element, std::string_view, std::uint32_t>;
  static Place PlaceOf(const Element& parent, const SetStep& step) {
    return {parent, step.name, step.number};
  }

  Element Find(const Element& parent, const SetStep& step) const {
    const Element found = parent.NthChild(Ostrum::NameMatch::Exact, step.name, step.number);
    if (!found.IsNull() && !found.IsCreated()) return found;
    const auto known = created.find(PlaceOf(parent, step));
    if (known == created.end()) return {};
    return known->second;
  }

  Ostrum::Document& document;
  std::map<Place, Element> created; // the names are the requests'
};

} // namespace

void RequireAllowed(const SetRequest& request, const Ostrum::Document& document,
                    const StepElements& found) {
  const std::vector<SetStep>& steps = request.steps;
  assert(!found.empty() && found.size() <= steps.size());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (i < found.size() && !steps[i].attributes.empty()) RequireChangeable(found[i]);
    for (const SetAttribute& each : steps[i].attributes) {
      Require(document.CanHold(steps[i].name, each.name, each.value),
              "the attribute's declared type would change the value's white space");
    }
  }
  const bool createsChild = found.size() < steps.size();
  if (createsChild || request.text) RequireChangeable(found.back());
  Require(createsChild || !request.text || found.back().TextCanBeReplaced(),
          "the text refers to an entity that contains elements or is not known");
}

void ApplyRequest(const SetRequest& request, StepElements& elements,
                  const std::function<void(std::size_t step, bool isCreated)>& done) {
  assert(!elements.empty() && elements.size() <= request.steps.size());
  elements.reserve(request.steps.size()); // so that each created element is known afterwards
  for (std::size_t i = 0; i < request.steps.size(); ++i) {
    const SetStep& step = request.steps[i];
    if (i == elements.size()) {
      elements.push_back(elements.back().AddElementInto(step.name));
      assert(!elements.back().IsNull()); // its name was checked, and so was its parent
      done(i, true);
    }
    for (const SetAttribute& attribute : step.attributes) {
      elements[i].SetAttribute(attribute.name, attribute.value);
      done(i, false);
    }
  }
  if (request.text) elements.back().SetText(*request.text);
}

const SetRequest& WaitingSets::Add(SetRequest request) {
  assert(!request.steps.empty());
  requests.push_back(std::move(request));
  const auto isSame = [this](const SetRequest& each) { return SetTheSame(each, requests.back()); };
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
