// The changes that calls of SetXMLItem ask for, and making them: in the own document, and again in
// what another program has written to its file.
#ifndef TARVIK_ITEMS_WAITING_SETS_H
#define TARVIK_ITEMS_WAITING_SETS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "host/ostrumxml/file.h"

// All text is in UTF-8, except what is kept as the caller gave it.

struct SetAttribute {
  std::string name;
  std::string value;
  std::size_t keyLength = 0; // of the request's key up to the end of this attribute
};

// An element on the path from the root to the item, and the attributes to be set on it.
struct SetStep {
  std::string component; // of the path, as given, and an attribute item's name; for traces
  std::string given;     // the name, as given; empty for the root
  std::string name;      // once the element was found, its whole name
  std::size_t keyLength = 0;
  std::vector<SetAttribute> attributes;
  std::uint32_t number = 1; // among its siblings of its name; known after the search
};

// A call's arguments, completely parsed, checked and converted.
struct SetRequest {
  std::vector<SetStep> steps;      // from the root, which is always there
  std::optional<std::string> text; // for the last step's element
  // The names and attributes of the steps below the root, as given: "A\B&k=v". Its beginnings are
  // the elements' keys in the map.
  std::string key;
};

static_assert(std::is_nothrow_move_constructible_v<SetRequest>); // so that a list of them can grow

// The elements of a request's steps in one document, from the root; the last ones may be missing.
using StepElements = std::vector<Ostrum::Element>;

// Throws std::invalid_argument if the document does not allow a part of the request.
void RequireAllowed(const SetRequest& request, const Ostrum::Document& document,
                    const StepElements& found);

// Makes the changes and adds the missing elements. After each creation and each attribute, in the
// order of the key, calls done with the step's number. Throws std::bad_alloc and what done throws;
// changes made until then remain. REQUIRES: the request is allowed.
void ApplyRequest(const SetRequest& request, StepElements& elements,
                  const std::function<void(std::size_t step, bool isCreated)>& done);

// The requests that changed a document and have not reached its file.
class WaitingSets final : public Ostrum::PendingChanges {
 public:
  // Adds a request whose steps have the elements' whole names and numbers. The reference is valid
  // until the next call. Of requests that set the same, only the first and the last are kept, so
  // that repeating one while the file cannot be written does not fill the memory. The first is
  // kept because it creates elements that others need. Throws std::bad_alloc, with no change.
  const SetRequest& Add(SetRequest request);

  // Applies each request to the elements that it meant when it was added: those of the same name
  // and number. If there are fewer, creates one, which later requests for the same element find. A
  // request that the document does not allow is skipped, or throws if it is the last.
  void ApplyTo(Ostrum::Document& other) const override;

  void HaveReachedFile() noexcept override { requests.clear(); }

 private:
  std::vector<SetRequest> requests; // in the order of the calls
};

#endif
