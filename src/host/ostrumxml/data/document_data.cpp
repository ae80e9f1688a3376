#include "host/ostrumxml/data/document_data.h"

#include "host/ostrumxml/data/references.h"

namespace Ostrum {

std::map<std::uint64_t, const ElementChange::SetAttributes::value_type*>
ElementChange::NewAttributes() const {
  std::map<std::uint64_t, const SetAttributes::value_type*> inOrder;
  for (const auto& entry : attributes) {
    if (entry.second.value && !entry.second.staysInTag) inOrder[entry.second.order] = &entry;
  }
  return inOrder;
}

std::optional<std::string_view> DocumentData::EntityText(std::string_view name) const {
  const EntityPlace* const place = FindIn(entities, name);
  if (place == nullptr) return std::nullopt;
  return Between(place->start, place->start + place->length);
}

std::uint32_t DocumentData::FirstChild(std::uint32_t element) const noexcept {
  const std::uint32_t flags = elements[element].flags;
  if ((flags & element_flags::hasParsedChildren) != 0) {
    std::uint32_t first = element + 1;
    if (IsRemoved(first)) first = NextSibling(first);
    if (first != 0) return first;
  }
  const std::vector<std::uint32_t>& created = ChangeOf(element).created;
  if (created.empty()) return 0;
  return created.front();
}

const ElementChange& DocumentData::ChangeOf(std::uint32_t element) const {
  static const ElementChange none;
  if ((elements[element].flags & element_flags::changed) == 0) return none;
  return changes.at(element);
}

ElementChange& DocumentData::AddChange(std::uint32_t element) {
  ElementChange& change = changes[element];
  elements[element].flags |= element_flags::changed;
  return change;
}

bool DocumentData::CanHold(std::string_view elementName, std::string_view attributeName,
                           std::string_view value) const {
  const AttributeDeclaration* const declared = FindDeclaration(elementName, attributeName);
  return declared == nullptr || !declared->tokenized || FoldSpaces(value) == value;
}

} // namespace Ostrum
