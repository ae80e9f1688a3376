#ifndef TARVIK_ITEMS_SET_WALK_H
#define TARVIK_ITEMS_SET_WALK_H

#include <vector>

#include "items/set_request.h"

// Carries a request out on a document: goes from the root to the element that it names, taking at each step the first child
// whose name begins with the step's, and makes what is missing.
class SetWalk {
 public:
  // Gives the child, or null where it must be made; null also for the children of null, which must all be made.
  using FindChild = Ostrum::Element* (*)(Ostrum::Element* parent, const SetStep& step);

  // Finds what is there and checks all of the request before anything is changed. Throws std::invalid_argument when the
  // document refuses a part of it, what the search throws, or std::bad_alloc. Both must outlive this object.
  SetWalk(const SetRequest& setRequest, Ostrum::Document& ofDocument, FindChild findChild);

  // Makes the changes. If a key is given, an empty one for request.longestKey bytes, the elements that it makes, and those
  // whose attributes it sets, are entered into the key's map under the path that led there. Throws std::bad_alloc; what was
  // done before stays. Call once.
  void CarryOut(ElementMap::KeyChain* key) const;

 private:
  void Check() const;

  const SetRequest& request;
  Ostrum::Document& document;
  std::vector<Ostrum::Element*> found; // of the first steps, the root at least
};

// Finds as callers see it: logs what a path search logs.
Ostrum::Element* FindLogged(Ostrum::Element* parent, const SetStep& step);
// Finds the same, and logs nothing.
Ostrum::Element* FindSilently(Ostrum::Element* parent, const SetStep& step);

#endif
