#include "host/ostrumxml/name.h"

#include <algorithm>

#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

std::size_t RecentSlot(std::string_view utf8) {
  const auto first = static_cast<unsigned char>(utf8.front());
  const auto last = static_cast<unsigned char>(utf8.back());
  return (first * 5U + last * 3U + utf8.size()) % 64U;
}

} // namespace

Name::Name(Content& owner, std::string_view utf8) noexcept
    : owner(&owner),
      utf8(utf8),
      ascii(std::ranges::all_of(utf8, [](char unit) { return static_cast<unsigned char>(unit) < 0x80; })) {}

const std::wstring& Name::Wide() const {
  if (!wide) wide = std::make_unique<const std::wstring>(WideFromUtf8(utf8));
  return *wide;
}

const Name* NameTable::Find(std::string_view utf8) noexcept {
  const Name*& slot = recent[RecentSlot(utf8)];
  if (slot != nullptr && slot->Utf8() == utf8) return slot;
  const auto entry = names.find(utf8);
  if (entry == names.end()) return nullptr;
  slot = &entry->second;
  return slot;
}

const Name& NameTable::Insert(Content& owner, std::string_view utf8) {
  return names.try_emplace(utf8, owner, utf8).first->second;
}

} // namespace Ostrum
