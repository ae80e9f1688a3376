#include "host/ostrumxml/nodes/child_index.h"

#include <algorithm>
#include <iterator>

#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/nodes/indexed_document.h"

namespace Ostrum {
namespace {

// Limits on the lists other than byName: their number, and their total entries per child.
constexpr std::size_t mostLists = 256;
constexpr std::size_t mostEntriesPerChild = 3;

// How many results of searches by value a list remembers: of those that more children than the
// other number match.
constexpr std::size_t mostResults = 64;
constexpr std::ptrdiff_t fewMatches = 16;

} // namespace

ChildIndex::ChildIndex(IndexedDocument& document, std::uint32_t parent)
    : document(document), data(document.data) {
  for (auto child = data.FirstChild(parent); child != 0; child = data.elements[child].nextSibling) {
    byName.push_back(child);
    namesAreAscii = namesAreAscii && IsAscii(data.NameOf(child));
  }
  const auto isBefore = [this](std::uint32_t left, std::uint32_t right) {
    const std::uint32_t leftName = data.elements[left].name;
    const std::uint32_t rightName = data.elements[right].name;
    if (leftName == rightName) return left < right;
    return data.names.Text(leftName) < data.names.Text(rightName);
  };
  if (!std::ranges::is_sorted(byName, isBefore)) std::ranges::sort(byName, isBefore);
}

ChildIndex::Range ChildIndex::Named(NameMatch match, std::string_view text) const {
  const std::size_t compared = match == NameMatch::Exact ? std::string_view::npos : text.size();
  const auto nameOf = [this, compared](std::uint32_t number) {
    return data.NameOf(number).substr(0, compared);
  };
  const auto first = std::ranges::lower_bound(byName, text, {}, nameOf);
  return {first, std::ranges::upper_bound(first, byName.end(), text, {}, nameOf)};
}

// Equal names are stored once, so their addresses are equal.
bool ChildIndex::IsOneName(const Range& range) const noexcept {
  return range.first == range.second ||
         data.NameOf(*range.first).data() == data.NameOf(*std::prev(range.second)).data();
}

const ChildIndex::Range& ChildIndex::LastNamed(NameMatch match, std::string_view text) {
  if (!lastText || *lastText != text || lastMatch != match) {
    lastRange = Named(match, text);
    lastText = text;
    lastMatch = match;
  }
  return lastRange;
}

Element ChildIndex::NthOf(const Range& range, std::uint32_t n) const noexcept {
  const auto count = static_cast<std::size_t>(range.second - range.first);
  if (n == 0 || count < n) return {};
  return At(range.first[n - 1]);
}

Element ChildIndex::Nth(NameMatch match, std::string_view text, std::uint32_t n) {
  const Range& range = LastNamed(match, text);
  return NthOf(IsOneName(range) ? range : ListFor(ListKind::Prefix, text, {}).AsRange(), n);
}

Element ChildIndex::NthWithAttribute(std::string_view childName, std::string_view attributeName,
                                     std::uint32_t n) {
  const List& list = ListFor(ListKind::ExactWithAttribute, childName, attributeName);
  return NthOf(list.holdsAllNamed ? LastNamed(NameMatch::Exact, childName) : list.AsRange(), n);
}

Element ChildIndex::FirstWithValue(std::string_view nameBegin, std::string_view attributeName,
                                   std::string_view valueBegin) {
  List& list = ListFor(ListKind::PrefixByValue, nameBegin, attributeName);
  if (const auto known = list.results.find(valueBegin); known != list.results.end())
    return At(known->second);
  std::string scratch;
  const auto valueOf = [&](std::uint32_t number) {
    return At(number).GetAttribute(attributeName).GetValue(scratch);
  };
  const auto begin = std::ranges::lower_bound(list.numbers, valueBegin, {}, valueOf);
  const auto end = std::find_if_not(begin, list.numbers.end(), [&](std::uint32_t number) {
    return valueOf(number).starts_with(valueBegin);
  });
  if (begin == end) return {};
  const std::uint32_t first = *std::min_element(begin, end);
  if (list.results.size() == mostResults) list.results.clear();
  if (end - begin > fewMatches) list.results.emplace(valueBegin, first);
  return At(first);
}

ChildIndex::List& ChildIndex::ListFor(ListKind kind, std::string_view name,
                                      std::string_view attribute) {
  const auto isWanted = [&](const List& list) {
    return list.kind == kind && list.name == name && list.attribute == attribute;
  };
  const auto known = std::ranges::find_if(lists, isWanted);
  if (known != lists.end() && known->attributesSet == data.attributesSet) return *known;

  List list{kind, std::string(name), std::string(attribute), data.attributesSet, {}, false, false,
            {}};
  Fill(list);
  if (known != lists.end()) return *known = std::move(list);
  std::size_t entries = list.numbers.size();
  lists.push_back(std::move(list));
  for (auto older = lists.rbegin() + 1; older != lists.rend(); ++older)
    entries += older->numbers.size();
  for (; lists.size() > 1 &&
         (lists.size() > mostLists || entries > mostEntriesPerChild * byName.size());) {
    entries -= lists.front().numbers.size();
    lists.pop_front();
  }
  return lists.back();
}

void ChildIndex::Fill(List& list) {
  const Range named = Named(
      list.kind == ListKind::ExactWithAttribute ? NameMatch::Exact : NameMatch::Prefix, list.name);
  const auto attributeOf = [&](std::uint32_t number) {
    return At(number).GetAttribute(list.attribute);
  };
  std::ranges::copy_if(named.first, named.second, std::back_inserter(list.numbers),
                       [&](std::uint32_t number) {
                         return list.kind == ListKind::Prefix || !attributeOf(number).IsNull();
                       });
  if (list.kind != ListKind::PrefixByValue) {
    std::ranges::sort(list.numbers);
    const bool isAll = list.numbers.size() == static_cast<std::size_t>(named.second - named.first);
    list.holdsAllNamed = isAll && list.kind == ListKind::ExactWithAttribute;
    if (list.holdsAllNamed)
      list.numbers = {}; // many programs read several attributes of each child in turn
    return;
  }
  std::vector<std::pair<std::string, std::uint32_t>> byValue;
  byValue.reserve(list.numbers.size());
  for (const std::uint32_t number : list.numbers)
    byValue.emplace_back(attributeOf(number).GetValue(), number);
  list.valuesAreAscii =
      std::ranges::all_of(byValue, [](const auto& entry) { return IsAscii(entry.first); });
  std::ranges::sort(byValue);
  std::ranges::transform(byValue, list.numbers.begin(),
                         [](const auto& entry) { return entry.second; });
}

std::vector<std::string_view> ChildIndex::Names() const {
  std::vector<std::string_view> names;
  const auto nameOf = [this](std::uint32_t number) { return data.NameOf(number); };
  for (auto next = byName.begin(); next != byName.end();) {
    names.push_back(nameOf(*next));
    if (names.size() > byName.size() / 4) return {};
    next = std::ranges::upper_bound(next, byName.end(), names.back(), {}, nameOf);
  }
  return names;
}

void ChildIndex::Append(std::uint32_t child) {
  const std::string_view name = data.NameOf(child);
  lastText.reset();
  byName.insert(Named(NameMatch::Exact, name).second, child); // behind those of the same name
  namesAreAscii = namesAreAscii && IsAscii(name);
  // A new element can have declared attributes. Programs rarely alternate between creating elements
  // and searching by attribute.
  std::erase_if(lists, [](const List& list) { return list.kind != ListKind::Prefix; });
  for (List& list : lists) {
    if (name.starts_with(list.name)) list.numbers.push_back(child);
  }
}

} // namespace Ostrum
