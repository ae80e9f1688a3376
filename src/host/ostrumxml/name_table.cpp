#include "host/ostrumxml/name_table.h"

#include <cassert>

#include "platform/platform.h"

namespace Ostrum {
namespace {

std::uint64_t DrawKey(const void* fallback) noexcept {
  std::uint32_t halves[2] = {};
  const bool drawn = platform::DrawRandom(halves[0]) && platform::DrawRandom(halves[1]);
  // Addresses are random, too, though less so.
  return drawn ? std::uint64_t{halves[0]} << 32 | halves[1] : reinterpret_cast<std::uintptr_t>(fallback);
}

std::size_t RecentSlot(std::string_view text) noexcept {
  const auto first = static_cast<unsigned char>(text.front());
  const auto last = static_cast<unsigned char>(text.back());
  return (first * 5U + last * 3U + text.size()) % 64U;
}

} // namespace

KeyedHash::KeyedHash() noexcept : key0(DrawKey(this)), key1(DrawKey(&key0)) {}

std::size_t NameTable::SlotOf(std::string_view text, std::uint32_t hashed) const noexcept {
  const std::size_t mask = slots.size() - 1;
  std::size_t slot = hashed & mask;
  for (; slots[slot] != 0; slot = (slot + 1) & mask) {
    const Name& name = names[slots[slot] - 1];
    if (name.hash == hashed && name.Text() == text) break;
  }
  return slot;
}

std::uint32_t NameTable::Find(std::string_view text) const noexcept {
  if (slots.empty()) return 0;
  return slots[SlotOf(text, static_cast<std::uint32_t>(hash(text)))];
}

std::uint32_t NameTable::Intern(std::string_view text) {
  assert(!text.empty());
  std::uint32_t& seen = recent[RecentSlot(text)];
  if (seen != 0 && Text(seen) == text) return seen;

  if ((names.size() + 1) * 4 > slots.size() * 3) Grow();
  const auto hashed = static_cast<std::uint32_t>(hash(text));
  std::uint32_t& slot = slots[SlotOf(text, hashed)];
  if (slot == 0) {
    names.push_back({text.data(), static_cast<std::uint32_t>(text.size()), hashed});
    slot = static_cast<std::uint32_t>(names.size());
  }
  seen = slot;
  return slot;
}

std::uint32_t NameTable::InternCopy(std::string_view text) {
  if (const std::uint32_t known = Find(text)) return known;
  return Intern(copies.emplace_front(text));
}

void NameTable::Grow() {
  constexpr std::size_t fewest = 32;
  std::vector<std::uint32_t> grown(slots.empty() ? fewest : slots.size() * 2);
  const std::size_t mask = grown.size() - 1;
  for (std::uint32_t number = 1; number <= names.size(); ++number) {
    std::size_t slot = names[number - 1].hash & mask;
    while (grown[slot] != 0) slot = (slot + 1) & mask;
    grown[slot] = number;
  }
  slots.swap(grown);
}

} // namespace Ostrum
