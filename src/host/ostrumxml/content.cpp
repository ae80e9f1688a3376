#include "host/ostrumxml/content.h"

#include <algorithm>

namespace Ostrum {

const Name& Content::Intern(std::string_view utf8) {
  if (const Name* name = names.Find(utf8)) return *name;
  char* copy = static_cast<char*>(arena.Allocate(utf8.size()));
  std::copy(utf8.begin(), utf8.end(), copy);
  return names.Insert(*this, {copy, utf8.size()});
}

ElementChange& Content::ChangeOf(Element& element) {
  ElementChange& change = changes[&element];
  element.flags |= element_flags::changed;
  return change;
}

const ElementChange* Content::FindChange(const Element& element) const {
  if ((element.flags & element_flags::changed) == 0) return nullptr;
  return &changes.at(&element);
}

const ElementExpansion* Content::FindExpansion(const Element& element) const {
  if ((element.flags & element_flags::expanded) == 0) return nullptr;
  return &expansions.at(&element);
}

const AttributeDeclarations* Content::FindDeclarations(const Element& element) const {
  if (declarations.empty()) return nullptr;
  const auto entry = declarations.find(element.name->Utf8());
  return entry == declarations.end() ? nullptr : &entry->second;
}

} // namespace Ostrum
