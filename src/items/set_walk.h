#ifndef TARVIK_ITEMS_SET_WALK_H
#define TARVIK_ITEMS_SET_WALK_H

#include <string>

#include "items/path_steps.h"
#include "registry/record.h"

// Walks from the root to the element that a path names, making what is missing, and enters what it makes into the
// element map under the path that led there. Every function throws std::bad_alloc, or std::runtime_error or
// std::invalid_argument when the document library refuses; what was done before stays.
class SetWalk {
 public:
  // mostKeyLength: of the path with all its attribute parts.
  SetWalk(XmlFileRecord& record, std::size_t mostKeyLength)
      : record(record), current(&record.document->GetRoot()), key(*record.elementMap, mostKeyLength) {}

  // Goes on to the first child whose name begins with the component's, made if there is none, and sets its attribute
  // part.
  void Enter(const PathStep& step);
  // Sets the attribute of the element reached.
  void SetAttribute(const std::string& name, const std::string& value);
  // Sets the text of the element reached.
  void SetText(const std::string& text);

 private:
  Ostrum::Element* FindChild(const std::string& name) const;
  Ostrum::Element* AddChild(const std::string& name);

  XmlFileRecord& record;
  Ostrum::Element* current;
  ElementMap::KeyChain key; // of the element reached; empty for the root
};

#endif
