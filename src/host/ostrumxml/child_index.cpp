#include "host/ostrumxml/child_index.h"

#include <algorithm>
#include <iterator>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

// How many lists are kept besides the one by name. Their entries need no limit: each stands for a part of a name, or for an
// attribute, that the child has in the source or by declaration.
constexpr std::size_t mostLists = 256;

// A search by value that more children than this match is remembered.
constexpr std::ptrdiff_t fewMatches = 16;

bool HasAttribute(const Element& element, std::string_view name) { return !element.GetAttribute(name).IsNull(); }

} // namespace

ChildIndex::ChildIndex(const Content& content, const Element& parent) : content(content) {
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    byName.push_back(ElementTable::NumberOf(*child));
    namesAreAscii = namesAreAscii && IsAscii(child->GetName());
  }
  const auto isBefore = [&content](std::uint32_t left, std::uint32_t right) {
    const std::uint32_t leftName = content.elements.At(left).name;
    const std::uint32_t rightName = content.elements.At(right).name;
    return leftName == rightName ? left < right : content.names.Text(leftName) < content.names.Text(rightName);
  };
  if (!std::is_sorted(byName.begin(), byName.end(), isBefore)) std::sort(byName.begin(), byName.end(), isBefore);
}

std::string_view ChildIndex::NameOf(std::uint32_t number) const noexcept {
  return content.names.Text(content.elements.At(number).name);
}

ChildIndex::Range ChildIndex::Named(NameMatch match, std::string_view text) const {
  const std::size_t length = match == NameMatch::Exact ? std::string_view::npos : text.size();
  const auto first =
      std::lower_bound(byName.begin(), byName.end(), text,
                       [this](std::uint32_t number, std::string_view wanted) { return NameOf(number) < wanted; });
  const auto last =
      std::upper_bound(first, byName.end(), text, [this, length](std::string_view wanted, std::uint32_t number) {
        return wanted < NameOf(number).substr(0, length);
      });
  return {first, last};
}

// Equal names share their text.
bool ChildIndex::IsOneName(const Range& range) const noexcept {
  return range.first == range.second || NameOf(*range.first).data() == NameOf(*std::prev(range.second)).data();
}

Element* ChildIndex::Nth(NameMatch match, std::string_view text, std::uint32_t n) {
  if (!lastText || *lastText != text || lastMatch != match) {
    lastRange = Named(match, text);
    lastText = text;
    lastMatch = match;
  }
  const Range& range = lastRange;
  if (n == 0 || static_cast<std::size_t>(range.second - range.first) < n) return nullptr;
  if (IsOneName(range)) return &content.elements.At(range.first[n - 1]);
  return &content.elements.At(ListFor(ListKind::Prefix, text, {}).numbers[n - 1]);
}

Element* ChildIndex::NthWithAttribute(std::string_view childName, std::string_view attributeName, std::uint32_t n) {
  const Numbers& numbers = ListFor(ListKind::ExactWithAttribute, childName, attributeName).numbers;
  return n == 0 || numbers.size() < n ? nullptr : &content.elements.At(numbers[n - 1]);
}

Element* ChildIndex::FirstWithValue(std::string_view nameBegin, std::string_view attributeName,
                                    std::string_view valueBegin) {
  List& list = ListFor(ListKind::PrefixByValue, nameBegin, attributeName);
  const auto known = list.found.find(valueBegin);
  if (known != list.found.end()) return &content.elements.At(known->second);
  std::string scratch;
  const auto valueOf = [&](std::uint32_t number) {
    return content.elements.At(number).GetAttribute(attributeName).GetValue(scratch);
  };
  const auto first =
      std::lower_bound(list.numbers.begin(), list.numbers.end(), valueBegin,
                       [&](std::uint32_t number, std::string_view wanted) { return valueOf(number) < wanted; });
  std::uint32_t found = 0;
  auto entry = first;
  for (; entry != list.numbers.end() && valueOf(*entry).starts_with(valueBegin); ++entry) {
    found = found == 0 ? *entry : std::min(found, *entry);
  }
  if (entry - first > fewMatches) list.found.emplace(valueBegin, found);
  return found == 0 ? nullptr : &content.elements.At(found);
}

ChildIndex::List& ChildIndex::ListFor(ListKind kind, std::string_view name, std::string_view attribute) {
  const auto isWanted = [&](const List& list) {
    return list.kind == kind && list.name == name && list.attribute == attribute;
  };
  const auto known = std::find_if(lists.begin(), lists.end(), isWanted);
  if (known != lists.end() && known->attributesSet == content.attributesSet) return *known;

  List list{kind, std::string(name), std::string(attribute), content.attributesSet, {}, {}};
  list.numbers = MakeList(kind, name, attribute);
  if (known != lists.end()) return *known = std::move(list);
  lists.push_back(std::move(list));
  if (lists.size() > mostLists) lists.pop_front();
  return lists.back();
}

ChildIndex::Numbers ChildIndex::MakeList(ListKind kind, std::string_view name, std::string_view attribute) const {
  const Range range = Named(kind == ListKind::ExactWithAttribute ? NameMatch::Exact : NameMatch::Prefix, name);
  Numbers numbers;
  std::copy_if(range.first, range.second, std::back_inserter(numbers), [&](std::uint32_t number) {
    return kind == ListKind::Prefix || HasAttribute(content.elements.At(number), attribute);
  });
  if (kind != ListKind::PrefixByValue) {
    std::sort(numbers.begin(), numbers.end());
    return numbers;
  }
  std::vector<std::pair<std::string, std::uint32_t>> byValue;
  byValue.reserve(numbers.size());
  for (const std::uint32_t number : numbers) {
    byValue.emplace_back(content.elements.At(number).GetAttribute(attribute).GetValue(), number);
  }
  std::sort(byValue.begin(), byValue.end());
  std::transform(byValue.begin(), byValue.end(), numbers.begin(), [](const auto& entry) { return entry.second; });
  return numbers;
}

void ChildIndex::Append(const Element& child) {
  const std::string_view name = child.GetName();
  const std::uint32_t number = ElementTable::NumberOf(child);
  lastText.reset();
  byName.insert(Named(NameMatch::Exact, name).second, number); // the last of its name
  namesAreAscii = namesAreAscii && IsAscii(name);
  // A new element can have declared attributes. Programs rarely make elements and search by attribute in turn.
  std::erase_if(lists, [](const List& list) { return list.kind != ListKind::Prefix; });
  for (List& list : lists) {
    if (name.starts_with(list.name)) list.numbers.push_back(number);
  }
}

} // namespace Ostrum
