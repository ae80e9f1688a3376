// Making the changes that a request asks for, in the own document and again in another one.
#ifndef TARVIK_ITEMS_WAITING_SETS_H
#define TARVIK_ITEMS_WAITING_SETS_H

#include <vector>

#include "host/ostrumxml/file.h"
#include "items/set_request.h"
#include "paths/element_map.h"

// The elements of a request's steps in one document, from the root; the last ones may be missing.
using StepElements = std::vector<Ostrum::Element>;

// Throws std::invalid_argument if the document does not allow a part of the request.
void RequireAllowed(const SetRequest& request, const Ostrum::Document& document,
                    const StepElements& found);

// Makes the changes and returns the elements of all steps. If a key is given, which must be empty
// and have room for request.maxKeyLength bytes, enters created elements and elements whose
// attributes are set into the key's map under their paths. Throws std::bad_alloc; changes made
// until then remain. REQUIRES: the request is allowed.
StepElements ApplyRequest(const SetRequest& request, StepElements found, ElementMap::KeyChain* key);

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

  void HaveReachedFile() noexcept override;

 private:
  std::vector<SetRequest> requests; // in the order of the calls
};

#endif
