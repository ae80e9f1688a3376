#include "host/ostrumxml/data/name_table.h"

namespace Ostrum {

std::uint32_t NameTable::Find(std::string_view text) const noexcept {
  return index.Find(names, text, static_cast<std::uint32_t>(hash(text)));
}

std::uint32_t NameTable::Add(std::string_view text) {
  index.MakeRoom(names.size());
  const auto next = static_cast<std::uint32_t>(names.size() + 1);
  names.push_back({text.data(), static_cast<std::uint32_t>(text.size())});
  const std::uint32_t seen = index.Enter(names, text, static_cast<std::uint32_t>(hash(text)), next);
  if (seen != next) names.pop_back();
  return recent[RecentSlot(text)] = seen;
}

std::uint32_t NameTable::InternCopy(std::string_view text) {
  if (const std::uint32_t known = Find(text)) return known;
  return Intern(copies.emplace_front(text));
}

} // namespace Ostrum
