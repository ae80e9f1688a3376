#include "paths/element_map.h"

#include <cassert>
#include <cstring>

std::size_t ElementMap::SlotOf(std::string_view key, std::uint32_t hashed) const noexcept {
  const std::size_t mask = slots.size() - 1;
  std::size_t slot = hashed & mask;
  for (; slots[slot] != 0; slot = (slot + 1) & mask) {
    const Entry& entry = entries[slots[slot] - 1];
    if (entry.hash == hashed && entry.key == key) break;
  }
  return slot;
}

ElementMap::Place ElementMap::Search(std::string_view key) noexcept {
  std::uint32_t& seen = RecentSlot(key);
  if (seen != 0 && entries[seen - 1].key == key) return {entries[seen - 1].reference.element, entries[seen - 1].hash};
  const auto hashed = static_cast<std::uint32_t>(hash(key));
  const std::uint32_t position = slots.empty() ? 0 : slots[SlotOf(key, hashed)];
  if (position == 0) return {nullptr, hashed};
  seen = position;
  return {entries[position - 1].reference.element, hashed};
}

void ElementMap::Insert(const Place& place, std::string_view key, Ostrum::Element& element) {
  MakeRoom();
  char* const text = NewText(key.size());
  std::memcpy(text, key.data(), key.size());
  Publish(entries.emplace_back(Entry{{text, key.size()}, place.hash, CElementRef(element)}));
}

void ElementMap::Publish(Entry& entry) noexcept {
  assert(&entry == &entries.back() && entries.size() < slots.size());
  const auto position = static_cast<std::uint32_t>(entries.size());
  slots[SlotOf(entry.key, entry.hash)] = RecentSlot(entry.key) = position;
}

std::uint32_t& ElementMap::RecentSlot(std::string_view key) noexcept {
  if (key.size() < 2) return recent[0];
  const auto lastByte = static_cast<unsigned char>(key.back());
  const auto byteBefore = static_cast<unsigned char>(key[key.size() - 2]);
  return recent[(key.size() * 7 + byteBefore * std::size_t{10} + lastByte) % recent.size()];
}

void ElementMap::MakeRoom() {
  if ((entries.size() + 1) * 4 <= slots.size() * 3) return;
  constexpr std::size_t fewest = 16;
  std::vector<std::uint32_t> grown(slots.empty() ? fewest : slots.size() * 2);
  const std::size_t mask = grown.size() - 1;
  for (std::uint32_t position = 1; position <= entries.size(); ++position) {
    std::size_t slot = entries[position - 1].hash & mask;
    while (grown[slot] != 0) slot = (slot + 1) & mask;
    grown[slot] = position;
  }
  slots.swap(grown);
}

void ElementMap::KeyChain::Prepare() {
  Abandon();
  assert(key.size() <= mostLength);
  map.MakeRoom();
  if (stored == nullptr) stored = map.NewText(mostLength);
  std::memcpy(stored + storedLength, key.data() + storedLength, key.size() - storedLength);
  storedLength = key.size();
  const auto keyHash = static_cast<std::uint32_t>(Ostrum::KeyedHash::Continue(hashed, key));
  map.entries.push_back({{stored, storedLength}, keyHash, CElementRef(Ostrum::Element::null)});
  isPrepared = true;
}

void ElementMap::KeyChain::Enter(Ostrum::Element& element, bool replaces) noexcept {
  assert(isPrepared);
  Entry& entry = map.entries.back();
  const std::size_t present = map.slots[map.SlotOf(entry.key, entry.hash)];
  if (present == 0) {
    entry.reference.element = &element;
    map.Publish(entry);
    isPrepared = false;
    return;
  }
  if (replaces) map.entries[present - 1].reference = CElementRef(element);
  Abandon();
}

void ElementMap::KeyChain::Abandon() noexcept {
  if (isPrepared) map.entries.pop_back();
  isPrepared = false;
}

Ostrum::Element* FindInElementMap(ElementMap& map, std::string_view key) noexcept { return map.Search(key).element; }

void InsertIntoElementMap(ElementMap& map, std::string_view key, Ostrum::Element& element) {
  const ElementMap::Place place = map.Search(key);
  if (place.element == nullptr) map.Insert(place, key, element);
}
