#include "paths/element_map.h"

#include <memory>

Ostrum::Element* FindInElementMap(const ElementMap& map, std::string_view key) {
  const auto entry = map.find(key);
  return entry == map.end() ? nullptr : entry->second->element;
}

void InsertIntoElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element) {
  const auto position = map.lower_bound(key);
  if (position != map.end() && position->first == key) return;
  InsertIntoElementMap(map, position, key, element);
}

void InsertIntoElementMap(ElementMap& map, ElementMap::const_iterator position, std::string_view key,
                          Ostrum::Element& element) {
  auto reference = std::make_unique<CElementRef>(element);
  map.emplace_hint(position, key, reference.get());
  reference.release();
}

void ReplaceInElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element) {
  const auto position = map.lower_bound(key);
  if (position == map.end() || position->first != key) {
    InsertIntoElementMap(map, position, key, element);
    return;
  }
  auto reference = std::make_unique<CElementRef>(element);
  delete position->second;
  position->second = reference.release();
}
