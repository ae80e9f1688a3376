// The map holds a few thousand short keys that are asked for in small groups again and again. So
// the last hits are tried first, and a search that misses gives its hash to the insertion.
#include "paths/element_map.h"

#include <cassert>

Ostrum::Element ElementMap::Find(std::string_view key) noexcept {
  std::uint32_t& seen = RecentSlot(key);
  if (seen == 0 || entries[seen - 1].Key() != key) {
    const std::uint32_t number = index.Find(entries, key, static_cast<std::uint32_t>(hash(key)));
    if (number == 0) return {};
    seen = number;
  }
  return entries[seen - 1].reference.element;
}

void ElementMap::Insert(std::string_view key, Ostrum::Element element) {
  assert(Find(key).IsNull() && !element.IsNull());
  MakeRoom();
  char* const text = NewText(key.size());
  key.copy(text, key.size());
  Add({text, key.size()}, static_cast<std::uint32_t>(hash(key)), element);
}

void ElementMap::MakeRoom() {
  index.MakeRoom(entries.size());
  if (entries.size() == entries.capacity()) entries.reserve(2 * entries.size() + 8);
}

void ElementMap::Add(std::string_view key, std::uint32_t hashed, Ostrum::Element element) noexcept {
  assert(entries.size() < entries.capacity());
  entries.push_back({key, CElementRef(element)});
  const auto number = static_cast<std::uint32_t>(entries.size());
  RecentSlot(key) = index.Enter(entries, key, hashed, number);
}

std::uint32_t& ElementMap::RecentSlot(std::string_view key) noexcept {
  if (key.size() < 2) return recent[0];
  const auto lastByte = static_cast<unsigned char>(key.back());
  const auto byteBefore = static_cast<unsigned char>(key[key.size() - 2]);
  return recent[(key.size() * 7 + byteBefore * std::size_t{10} + lastByte) % recent.size()];
}

void ElementMap::KeyChain::Prepare() {
  assert(key.size() <= maxLength);
  map.MakeRoom();
  if (stored == nullptr) stored = map.NewText(maxLength);
  key.copy(stored + storedLength, key.size() - storedLength, storedLength);
  storedLength = key.size();
}

void ElementMap::KeyChain::Enter(Ostrum::Element element) noexcept {
  assert(stored != nullptr && key.size() == storedLength);
  const std::string_view text(stored, storedLength);
  const std::uint32_t present = map.index.Find(map.entries, text, HashOfKey());
  if (present == 0) {
    map.Add(text, HashOfKey(), element);
  } else {
    map.entries[present - 1].reference = CElementRef(element);
  }
}
