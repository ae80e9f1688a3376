#include "paths/element_map.h"

#include <cassert>
#include <cstring>

ElementMap::Place ElementMap::Search(std::string_view key) noexcept {
  std::uint32_t& seen = RecentSlot(key);
  if (seen != 0 && entries[seen - 1].Key() == key) return {seen, entries[seen - 1].hash};
  const auto hashed = static_cast<std::uint32_t>(hash(key));
  const std::uint32_t number = index.Find(entries, key, hashed);
  if (number != 0) seen = number;
  return {number, hashed};
}

void ElementMap::Insert(const Place& place, std::string_view key, Ostrum::Element element) {
  index.MakeRoom(entries.size());
  char* const text = NewText(key.size());
  std::memcpy(text, key.data(), key.size());
  entries.push_back(
      {text, static_cast<std::uint32_t>(key.size()), place.hash, CElementRef(element)});
  Publish();
}

// Enters the last entry under its key, which no other has.
void ElementMap::Publish() noexcept {
  const Entry& entry = entries.back();
  const auto number = static_cast<std::uint32_t>(entries.size());
  RecentSlot(entry.Key()) = index.Enter(entries, entry.Key(), entry.hash, number);
}

std::uint32_t& ElementMap::RecentSlot(std::string_view key) noexcept {
  if (key.size() < 2) return recent[0];
  const auto lastByte = static_cast<unsigned char>(key.back());
  const auto byteBefore = static_cast<unsigned char>(key[key.size() - 2]);
  return recent[(key.size() * 7 + byteBefore * std::size_t{10} + lastByte) % recent.size()];
}

void ElementMap::KeyChain::Prepare() {
  Abandon();
  assert(key.size() <= mostLength);
  map.index.MakeRoom(map.entries.size());
  if (stored == nullptr) stored = map.NewText(mostLength);
  std::memcpy(stored + storedLength, key.data() + storedLength, key.size() - storedLength);
  storedLength = key.size();
  map.entries.push_back({stored, static_cast<std::uint32_t>(storedLength), HashOfKey(),
                         CElementRef(Ostrum::Element())});
  isPrepared = true;
}

void ElementMap::KeyChain::Enter(Ostrum::Element element) noexcept {
  assert(isPrepared);
  Entry& entry = map.entries.back();
  const std::uint32_t present = map.index.Find(map.entries, entry.Key(), entry.hash);
  if (present == 0) {
    entry.reference.element = element;
    map.Publish();
    isPrepared = false;
    return;
  }
  map.entries[present - 1].reference = CElementRef(element);
  Abandon();
}

void ElementMap::KeyChain::Abandon() noexcept {
  if (isPrepared) map.entries.pop_back();
  isPrepared = false;
}
