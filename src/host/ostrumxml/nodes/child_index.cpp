#include "host/ostrumxml/nodes/child_index.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include "host/ostrumxml/nodes/child_matcher.h"
#include "host/ostrumxml/nodes/indexed_document.h"

namespace Ostrum {
namespace {

// Limits on the lists: their number, and their entries for each child.
constexpr std::size_t maxLists = 64;
constexpr std::size_t maxEntriesPerChild = 16;

// No caller asks for a value by a longer beginning, in bytes.
constexpr std::size_t maxValueBegin = 259;

} // namespace

ChildIndex::List::List(const ChildQuery& query, std::uint64_t attributesSet)
    : match(query.match),
      name(query.name),
      attribute(query.attribute),
      isByValue(query.valueBegin.has_value()),
      filter(query.filter.id),
      attributesSet(attributesSet) {}

bool ChildIndex::List::IsFor(const ChildQuery& query) const noexcept {
  return match == query.match && name == query.name && attribute == query.attribute &&
         isByValue == query.valueBegin.has_value() && filter == query.filter.id;
}

ChildIndex::ChildIndex(IndexedDocument& document, std::uint32_t parent)
    : document(document), data(document.data) {
  for (auto child = data.FirstChild(parent); child != 0; child = data.NextSibling(child)) {
    byName.push_back(child);
  }
  const auto isBefore = [this](std::uint32_t left, std::uint32_t right) {
    const std::uint32_t leftName = data.elements[left].name;
    const std::uint32_t rightName = data.elements[right].name;
    if (leftName == rightName) return left < right;
    return data.names.Text(leftName) < data.names.Text(rightName);
  };
  if (!std::ranges::is_sorted(byName, isBefore)) std::ranges::sort(byName, isBefore);
}

std::optional<Element> ChildIndex::Find(const ChildQuery& query) {
  assert(query.n > 0);
  const Range named = LastNamed(query);
  if (named.empty()) return Element();
  if (!query.attribute && IsOneName(named)) {
    if (!query.Accepts(data.NameOf(named.front()))) return Element();
    return NthOf(named, query.n);
  }
  const List* const list = ListFor(query, named);
  if (list == nullptr) return std::nullopt;
  if (list->isByValue) return FirstWithValue(*list, query);
  if (list->isWholeRange) return NthOf(named, query.n);
  return NthOf(list->numbers, query.n);
}

ChildIndex::Range ChildIndex::Named(NameMatch match, std::string_view name) const {
  std::size_t compared = name.size();
  if (match == NameMatch::Exact) compared = std::string_view::npos;
  const auto nameOf = [this, compared](std::uint32_t number) {
    return data.NameOf(number).substr(0, compared);
  };
  const auto first = std::ranges::lower_bound(byName, name, {}, nameOf);
  return {first, std::ranges::upper_bound(first, byName.end(), name, {}, nameOf)};
}

ChildIndex::Range ChildIndex::LastNamed(const ChildQuery& query) {
  if (!lastName || *lastName != query.name || lastMatch != query.match) {
    lastRange = Named(query.match, query.name);
    lastName = query.name;
    lastMatch = query.match;
  }
  return lastRange;
}

// Equal names have one number.
bool ChildIndex::IsOneName(Range range) const noexcept {
  assert(!range.empty());
  return data.elements[range.front()].name == data.elements[range.back()].name;
}

Element ChildIndex::NthOf(Range range, std::uint32_t n) const noexcept {
  if (n > range.size()) return {};
  return At(range[n - 1]);
}

Element ChildIndex::FirstWithValue(const List& list, const ChildQuery& query) const {
  const std::string_view wanted = *query.valueBegin;
  assert(wanted.size() <= maxValueBegin);
  std::string scratch;
  const auto beginOf = [&](std::uint32_t number) {
    const Attribute attribute = At(number).GetAttribute(*query.attribute);
    return attribute.GetValue(scratch, wanted.size()).substr(0, wanted.size());
  };
  const auto begin = std::ranges::lower_bound(list.numbers, wanted, {}, beginOf);
  const auto end = std::ranges::upper_bound(begin, list.numbers.end(), wanted, {}, beginOf);
  const auto indexOf = [&list](auto position) {
    return static_cast<std::size_t>(position - list.numbers.begin());
  };
  const std::uint32_t first = list.minima.Least(list.numbers, indexOf(begin), indexOf(end));
  if (first == RangeMinimum::none) return {};
  return At(first);
}

// Null if there is no room for a new list.
const ChildIndex::List* ChildIndex::ListFor(const ChildQuery& query, Range named) {
  ++uses;
  auto list = std::ranges::find_if(lists, [&](const List& each) { return each.IsFor(query); });
  if (list == lists.end()) {
    if (!MakeRoom(named.size() + named.size() / 8)) return nullptr;
    List added(query, data.attributesSet);
    Fill(added, query, named);
    list = lists.insert(lists.end(), std::move(added));
  } else if (query.attribute && list->attributesSet != data.attributesSet) {
    List current(query, data.attributesSet);
    Fill(current, query, named);
    *list = std::move(current);
  }
  list->lastUse = uses;
  return &*list;
}

// Lists give way only if many searches passed them by: building one costs more than a scan, so a
// program that asks for more keys in turn than there is room for must not rebuild them all the
// time.
bool ChildIndex::MakeRoom(std::size_t added) {
  const auto hasRoom = [&] {
    std::size_t entries = added;
    for (const List& list : lists) entries += list.Size();
    return lists.size() < maxLists && entries <= maxEntriesPerChild * byName.size();
  };
  if (hasRoom()) return true;
  std::erase_if(lists, [this](const List& list) { return list.lastUse + maxLists < uses; });
  return hasRoom();
}

void ChildIndex::Fill(List& list, const ChildQuery& query, Range named) const {
  if (list.isByValue) return FillByValue(list, query, named);
  ChildMatcher matcher(query);
  std::ranges::copy_if(named, std::back_inserter(list.numbers),
                       [&](std::uint32_t number) { return matcher.Matches(At(number)); });
  list.isWholeRange = list.match == NameMatch::Exact && list.numbers.size() == named.size();
  if (list.isWholeRange) list.numbers = {};
  std::ranges::sort(list.numbers);
}

// Sorts by the beginnings of the values, equal ones in document order.
void ChildIndex::FillByValue(List& list, ChildQuery query, Range named) const {
  query.valueBegin = ""; // whatever the value, if the filter accepts it
  ChildMatcher matcher(query);
  std::vector<std::pair<std::string_view, std::uint32_t>> values;
  std::deque<std::string> decoded; // the values that are not in the document as they are meant
  std::string scratch;
  for (const std::uint32_t number : named) {
    if (!matcher.Matches(At(number))) continue;
    const Attribute& attribute = matcher.MatchedAttribute();
    std::string_view begin = attribute.GetValue(scratch, maxValueBegin).substr(0, maxValueBegin);
    if (begin.data() == scratch.data()) begin = decoded.emplace_back(begin);
    values.emplace_back(begin, number);
  }
  std::ranges::sort(values);
  for (const auto& [begin, number] : values) list.numbers.push_back(number);
  list.minima = RangeMinimum(list.numbers);
}

void ChildIndex::Append(std::uint32_t child) {
  const std::string_view name = data.NameOf(child);
  lastName.reset();
  const Range sameName = Named(NameMatch::Exact, name);
  byName.insert(byName.begin() + (sameName.data() + sameName.size() - byName.data()), child);
  // A new element can have declared attributes, and only a filter can tell whether its name counts.
  std::erase_if(lists, [](const List& list) { return list.attribute || list.filter != 0; });
  for (List& list : lists) {
    if (name.starts_with(list.name)) list.numbers.push_back(child);
  }
}

} // namespace Ostrum
