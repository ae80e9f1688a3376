#include "host/ostrumxml/data/name_table.h"

#include <cassert>

#include "platform/platform.h"

namespace Ostrum {
namespace {

std::size_t RecentSlot(std::string_view text) noexcept {
  const auto first = static_cast<unsigned char>(text.front());
  const auto last = static_cast<unsigned char>(text.back());
  return (first * 5U + last * 3U + text.size()) % 64U;
}

} // namespace

KeyedHash::KeyedHash() noexcept {
  std::uint64_t drawn[2] = {};
  // Addresses are random too, but less so.
  key0 =
      platform::FillRandom(drawn, sizeof drawn) ? drawn[0] : reinterpret_cast<std::uintptr_t>(this);
  key1 = drawn[1];
}

std::uint32_t NameTable::Find(std::string_view text) const noexcept {
  return index.Find(names, text, static_cast<std::uint32_t>(hash(text)));
}

std::uint32_t NameTable::Intern(std::string_view text) {
  assert(!text.empty());
  std::uint32_t& seen = recent[RecentSlot(text)];
  if (seen != 0 && Text(seen) == text) return seen;

  index.MakeRoom(names.size());
  const auto next = static_cast<std::uint32_t>(names.size() + 1);
  names.push_back({text.data(), static_cast<std::uint32_t>(text.size())});
  seen = index.Enter(names, text, static_cast<std::uint32_t>(hash(text)), next);
  if (seen != next) names.pop_back();
  return seen;
}

std::uint32_t NameTable::InternCopy(std::string_view text) {
  if (const std::uint32_t known = Find(text)) return known;
  return Intern(copies.emplace_front(text));
}

} // namespace Ostrum
