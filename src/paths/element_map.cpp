// The map holds a few thousand short keys that are asked for in small groups again and again. So
// the last hits are tried first.
#include "paths/element_map.h"

#include <algorithm>
#include <cassert>

Ostrum::Element ElementMap::Find(std::string_view key) noexcept {
  std::uint32_t& seen = RecentSlot(key);
  if (seen == 0 || entries[seen - 1].key != key) {
    const std::uint32_t number = index.Find(entries, key, HashOf(key));
    if (number == 0) return {};
    seen = number;
  }
  return entries[seen - 1].reference.element;
}

void ElementMap::Insert(std::string_view key, Ostrum::Element element) {
  assert(Find(key).IsNull() && !element.IsNull());
  const std::uint32_t number = Add(Keep(key), HashOf(key));
  RecentSlot(key) = number;
  Enter(number, element, true);
}

std::vector<std::uint32_t> ElementMap::AddPrefixes(std::string_view text,
                                                   const std::vector<std::size_t>& lengths) {
  assert(lengths.empty() || lengths.back() <= text.size());
  assert(std::ranges::is_sorted(lengths));
  Ostrum::KeyedHash::State state = hash.Start();
  std::string_view kept;
  std::vector<std::uint32_t> numbers;
  for (const std::size_t length : lengths) {
    const auto hashed =
        static_cast<std::uint32_t>(Ostrum::KeyedHash::Continue(state, text.substr(0, length)));
    numbers.push_back(index.Find(entries, text.substr(0, length), hashed));
    if (numbers.back() != 0) continue;
    if (kept.empty()) kept = Keep(text);
    numbers.back() = Add(kept.substr(0, length), hashed);
  }
  return numbers;
}

void ElementMap::Enter(std::uint32_t number, Ostrum::Element element, bool replaces) noexcept {
  assert(number > 0 && number <= entries.size());
  CElementRef& reference = entries[number - 1].reference;
  if (replaces || reference.element.IsNull()) reference = CElementRef(element);
}

std::uint32_t& ElementMap::RecentSlot(std::string_view key) noexcept {
  if (key.size() < 2) return recent[0];
  const auto lastByte = static_cast<unsigned char>(key.back());
  const auto byteBefore = static_cast<unsigned char>(key[key.size() - 2]);
  return recent[(key.size() * 7 + byteBefore * std::size_t{10} + lastByte) % recent.size()];
}

std::string_view ElementMap::Keep(std::string_view key) {
  char* const text = static_cast<char*>(texts.allocate(key.size(), 1));
  key.copy(text, key.size());
  return {text, key.size()};
}

std::uint32_t ElementMap::Add(std::string_view key, std::uint32_t hashed) {
  index.MakeRoom(entries.size());
  entries.push_back({key, CElementRef({})});
  return index.Enter(entries, key, hashed, static_cast<std::uint32_t>(entries.size()));
}
