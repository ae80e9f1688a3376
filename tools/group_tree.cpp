#include "group_tree.h"

#include <algorithm>
#include <map>

namespace {

constexpr const char* EveryName = "&";
constexpr std::size_t LongestGroupId = 259;

// The bytes that a name can be made of, the likeliest first.
const std::string& NameBytes() {
  static const std::string bytes = [] {
    std::string all = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.:";
    for (int byte = 0x80; byte <= 0xFF; ++byte) all += static_cast<char>(byte);
    return all;
  }();
  return bytes;
}

// Occurrence numbers count every name that begins with the one asked for: a "Setting" is the second after one "Settings".
class OccurrenceCounter {
 public:
  std::uint32_t Next(const std::string& name) {
    ++counts[name];
    std::uint32_t occurrence = 0;
    for (auto at = counts.lower_bound(name); at != counts.end() && at->first.starts_with(name); ++at) {
      occurrence += at->second;
    }
    return occurrence;
  }

 private:
  std::map<std::string, std::uint32_t> counts;
};

} // namespace

void GroupTree::Walk(const FoundGroup& from, std::uint32_t depth) {
  top = from;
  root = from.root;
  WalkBelow(top.id, top.id, depth == 0 ? LongestGroupId : depth);
}

void GroupTree::WalkBelow(const std::string& handle, const std::string& groupId, std::uint32_t levels) {
  if (levels == 0) return;
  OccurrenceCounter counter;
  for (std::uint32_t i = 1; const auto child = document.OpenGroup(handle, EveryName, i); ++i) {
    const std::string name = NameOf(handle, *child);
    const std::uint32_t occurrence = counter.Next(name);
    std::string childId = groupId.empty() ? name : groupId + '\\' + name;
    if (occurrence > 1) childId += std::to_string(occurrence);
    if (childId.size() > LongestGroupId || !Document::HasRoomFor(*child, EveryName)) {
      wasCut = true;
      continue;
    }
    visit(childId);
    WalkBelow(*child, childId, levels - 1);
  }
}

bool GroupTree::HasName(const std::string& handle, const std::string& name) const {
  return document.HasName(top.ReadPath(handle), name);
}

std::string GroupTree::NameOf(const std::string& parent, const std::string& child) {
  const auto hasName = [this, &child](const std::string& name) { return HasName(child, name); };
  const auto known = std::find_if(knownNames.begin(), knownNames.end(), hasName);
  if (known != knownNames.end()) {
    std::rotate(knownNames.begin(), known, known + 1);
    return knownNames.front();
  }
  // A search that starts at an element without children answers for that element alone.
  const bool isLeaf = !document.OpenGroup(child, EveryName);
  std::string name;
  if (!SpellOut(isLeaf ? child : parent, child, name)) return EveryName;
  knownNames.insert(knownNames.begin(), name);
  return name;
}

bool GroupTree::SpellOut(const std::string& start, const std::string& child, std::string& name) {
  for (const char byte : NameBytes()) {
    name.push_back(byte);
    if (BeginsSome(start, name) && (HasName(child, name) || SpellOut(start, child, name))) return true;
    name.pop_back();
  }
  return false;
}

bool GroupTree::BeginsSome(const std::string& start, const std::string& letters) {
  // Letters that begin with the root's name are taken for it; the first that do are that name.
  if (root.empty() && document.IsRootAlone(letters)) root = letters;
  return document.OpenGroup(start, root.empty() ? letters : root + '\\' + letters).has_value();
}
