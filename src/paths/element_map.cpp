#include "paths/element_map.h"

#include <iterator>
#include <utility>

#include "platform/platform.h"

void* ElementMapMemory::do_allocate(std::size_t size, std::size_t alignment) {
  void* const block = std::pmr::new_delete_resource()->allocate(size, alignment);
  platform::PreferLargePages(block, size);
  return block;
}

void ElementMapMemory::do_deallocate(void* block, std::size_t size, std::size_t alignment) {
  std::pmr::new_delete_resource()->deallocate(block, size, alignment);
}

ElementMap::~ElementMap() {
  for (const auto& [key, reference] : entries) DestroyReference()(reference);
}

ElementMap::OwnedReference ElementMap::NewReference(Ostrum::Element& element) {
  return OwnedReference(std::pmr::polymorphic_allocator<>(&memory).new_object<CElementRef>(element));
}

ElementMap::Place ElementMap::Search(std::string_view key) {
  Entry*& slot = RecentSlot(key);
  if (slot != nullptr && slot->first == key) return {slot, {}};
  const auto next = LowerBound(key);
  if (next == entries.end() || next->first != key) return {nullptr, next};
  last = next;
  slot = &*next;
  return {slot, {}};
}

ElementMap::Entries::iterator ElementMap::LowerBound(std::string_view key) {
  if (last != entries.end() && last->first < key) {
    const auto next = std::next(last);
    if (next == entries.end() || next->first >= key) return next;
  }
  return entries.lower_bound(key);
}

void ElementMap::Insert(const Place& place, std::string_view key, Ostrum::Element& element) {
  OwnedReference reference = NewReference(element);
  last = entries.emplace_hint(place.next, key, reference.get());
  RecentSlot(key) = &*last;
  static_cast<void>(reference.release()); // the map owns it now
}

ElementMap::NewEntry::NewEntry(ElementMap& map, std::string_view key)
    : reference(map.NewReference(Ostrum::Element::null)) {
  Entries single{&map.memory};
  single.emplace(key, nullptr);
  node = single.extract(single.begin());
}

void ElementMap::Replace(NewEntry&& entry, Ostrum::Element& element) noexcept {
  entry.reference->element = &element;
  const Place place = Search(entry.node.key());
  if (place.entry != nullptr) {
    DestroyReference()(place.entry->second);
    place.entry->second = entry.reference.release();
    return;
  }
  entry.node.mapped() = entry.reference.release();
  entries.insert(place.next, std::move(entry.node));
}

// Keys that are in use together differ in length or in their last two bytes.
ElementMap::Entry*& ElementMap::RecentSlot(std::string_view key) noexcept {
  if (key.size() < 2) return recent[0];
  const auto lastByte = static_cast<unsigned char>(key.back());
  const auto byteBefore = static_cast<unsigned char>(key[key.size() - 2]);
  return recent[(key.size() * 7 + byteBefore * std::size_t{10} + lastByte) % recent.size()];
}

Ostrum::Element* FindInElementMap(ElementMap& map, std::string_view key) {
  const ElementMap::Entry* const entry = map.Search(key).entry;
  return entry == nullptr ? nullptr : entry->second->element;
}

void InsertIntoElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element) {
  const ElementMap::Place place = map.Search(key);
  if (place.entry == nullptr) map.Insert(place, key, element);
}
