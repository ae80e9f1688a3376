// Finding the children of an element.
#include <algorithm>
#include <bit>
#include <cassert>
#include <functional>
#include <iterator>
#include <limits>
#include <tuple>

#include "host/ostrumxml/nodes/indexed_document.h"

namespace Ostrum {
namespace {

// Children after this many others are found by an index.
constexpr std::uint32_t fewChildren = 24;

// Limits on the lists: their number, and their entries for each child. The latter may be more if
// the entries take no more memory than the children's own text, as with many attributes each.
constexpr std::size_t maxLists = 256;
constexpr std::size_t maxEntriesPerChild = 16;

// No caller asks for a value by a longer beginning, in bytes.
constexpr std::size_t maxValueBegin = 259;

bool IsNamed(NameMatch match, std::string_view wanted, std::string_view name) noexcept {
  if (match == NameMatch::Exact) return name == wanted;
  return name.starts_with(wanted);
}

// Whether the query, apart from its n, asks for the child.
bool Matches(const ChildQuery& query, const Element& child, std::string& scratch) {
  const std::string_view name = child.GetName();
  if (!IsNamed(query.match, query.name, name) || !query.Accepts(name)) return false;
  if (!query.attribute) return true;
  const Value value = child.GetAttribute(*query.attribute);
  if (value.IsNull() || !query.valueBegin) return !value.IsNull();
  const std::string_view begin = *query.valueBegin;
  return value.GetValue(scratch, begin.size()).starts_with(begin) && value.IsAccepted(query.filter);
}

// The numbers in a list by value are divided into blocks of about the square root of all: the least
// of a range then takes about as many steps, and the minima of the blocks next to no memory.
std::size_t BlockSize(std::size_t count) noexcept {
  return std::size_t{1} << (std::bit_width(count) / 2);
}

// A child to be sorted by its name. Most names differ in their beginnings, which takes a third of
// the time of looking them up.
struct NamedChild {
  std::uint64_t name; // its number or its beginning
  std::uint32_t number;
};

// The first bytes of a name as a number; numbers and names have the same order.
std::uint64_t BeginningOf(std::string_view name) noexcept {
  std::uint64_t beginning = 0;
  for (std::size_t i = 0; i < sizeof beginning; ++i) {
    beginning <<= 8;
    if (i < name.size()) beginning |= static_cast<unsigned char>(name[i]);
  }
  return beginning;
}

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

std::uint32_t Least(std::span<const std::uint32_t> numbers) noexcept {
  std::uint32_t least = none;
  for (const std::uint32_t number : numbers) least = std::min(least, number);
  return least;
}

} // namespace

ChildIndex::ChildIndex(IndexedDocument& document, std::uint32_t parent)
    : document(document), data(document.data), parent(parent) {}

bool ChildIndex::IsBefore(NameMatch match, std::uint32_t left, std::uint32_t right) const {
  const std::uint32_t leftName = data.elements[left].name;
  const std::uint32_t rightName = data.elements[right].name;
  if (leftName == rightName) return left < right;
  if (match == NameMatch::Exact) return leftName < rightName;
  return data.names.Text(leftName) < data.names.Text(rightName);
}

const ChildIndex::Numbers& ChildIndex::Sorted(NameMatch match) {
  Numbers& sorted = SortedFor(match);
  if (!sorted.empty()) return sorted;
  std::vector<NamedChild> children;
  for (auto child = data.FirstChild(parent); child != 0; child = data.NextSibling(child)) {
    NamedChild& named = children.emplace_back(NamedChild{data.elements[child].name, child});
    if (match == NameMatch::Prefix) named.name = BeginningOf(data.NameOf(child));
  }
  const auto isBefore = [this](const NamedChild& left, const NamedChild& right) {
    if (left.name != right.name) return left.name < right.name;
    return IsBefore(NameMatch::Prefix, left.number, right.number);
  };
  if (!std::ranges::is_sorted(children, isBefore)) std::ranges::sort(children, isBefore);
  Numbers numbers;
  numbers.reserve(children.size());
  for (const NamedChild& child : children) numbers.push_back(child.number);
  return sorted = std::move(numbers);
}

std::optional<Element> ChildIndex::Find(const ChildQuery& query) {
  assert(query.n > 0);
  const Range named = Named(query.match, query.name);
  if (named.empty()) return Element();
  // Equal names have one number.
  const bool isOneName = data.elements[named.front()].name == data.elements[named.back()].name;
  if (!query.attribute && isOneName) {
    if (!query.Accepts(data.NameOf(named.front()))) return Element();
    return NthOf(named, query.n);
  }
  const List* const list = ListFor(query, named);
  if (list == nullptr) return std::nullopt;
  if (query.valueBegin) return FirstWithValue(*list, *query.valueBegin);
  if (list->isWholeRange) return NthOf(named, query.n);
  return NthOf(list->numbers, query.n);
}

ChildIndex::Range ChildIndex::Named(NameMatch match, std::string_view name) {
  if (lastName && *lastName == name && lastMatch == match) return lastRange;
  const Numbers& numbers = Sorted(match);
  lastName = name;
  lastMatch = match;
  const auto find = [this, &numbers](auto wanted, auto nameOf) {
    const auto first = std::ranges::lower_bound(numbers, wanted, {}, nameOf);
    lastRange = {first, std::ranges::upper_bound(first, numbers.end(), wanted, {}, nameOf)};
  };
  if (match == NameMatch::Exact) {
    find(data.names.Find(name), [this](auto number) { return data.elements[number].name; });
  } else {
    find(name, [&](auto number) { return data.NameOf(number).substr(0, name.size()); });
  }
  return lastRange;
}

Element ChildIndex::NthOf(Range range, std::uint32_t n) const noexcept {
  if (n > range.size()) return {};
  return At(range[n - 1]);
}

std::string_view ChildIndex::ValueBegin(std::uint32_t number, std::string_view attribute,
                                        std::string& scratch, std::size_t limit) const {
  return At(number).GetAttribute(attribute).GetValue(scratch, limit).substr(0, limit);
}

Element ChildIndex::FirstWithValue(const List& list, std::string_view wanted) const {
  assert(list.isByValue && wanted.size() <= maxValueBegin);
  std::string scratch;
  const Range numbers = list.numbers;
  const auto beginOf = [&](std::uint32_t number) {
    return ValueBegin(number, *list.attribute, scratch, wanted.size());
  };
  const auto begin = std::ranges::lower_bound(numbers, wanted, {}, beginOf);
  const auto end = std::ranges::upper_bound(begin, numbers.end(), wanted, {}, beginOf);
  const Range found(begin, end);
  const auto from = static_cast<std::size_t>(begin - numbers.begin()), to = from + found.size();
  const std::size_t blockSize = BlockSize(numbers.size());
  const std::size_t fromBlock = (from + blockSize - 1) / blockSize, toBlock = to / blockSize;
  std::uint32_t least = none;
  if (fromBlock >= toBlock) {
    least = Least(found);
  } else {
    const Range blocks = Range(list.minima).subspan(fromBlock, toBlock - fromBlock);
    least = std::min({Least(found.first(fromBlock * blockSize - from)), Least(blocks),
                      Least(found.last(to - toBlock * blockSize))});
  }
  if (least == none) return {};
  return At(least);
}

// Null if there is no room for a new list.
const ChildIndex::List* ChildIndex::ListFor(const ChildQuery& query, Range named) {
  ++uses;
  if (attributesSet != data.attributesSet)
    std::erase_if(lists, [](const List& each) { return each.attribute.has_value(); });
  attributesSet = data.attributesSet;
  auto list = std::ranges::find_if(lists, [&query](const List& each) {
    return std::tie(each.match, each.name, each.attribute, each.filter) ==
               std::tie(query.match, query.name, query.attribute, query.filter.id) &&
           each.isByValue == query.valueBegin.has_value();
  });
  if (list == lists.end()) {
    if (!MakeRoom()) return nullptr;
    list = lists.insert(lists.end(), MakeList(query, named));
  }
  list->lastUse = uses;
  return &*list;
}

// Lists give way only if many searches passed them by: building one costs more than a scan, so a
// program that asks for more keys in turn than there is room for must not rebuild them all the
// time.
bool ChildIndex::MakeRoom() {
  const std::size_t childCount = std::max(byName.size(), byText.size());
  const ElementRecord& element = data.elements[parent];
  const std::size_t ownText = element.contentEnd - element.contentStart;
  const std::size_t maxEntries =
      std::max(maxEntriesPerChild * childCount, ownText / sizeof(Numbers::value_type));
  const auto hasRoom = [&] {
    std::size_t entries = childCount; // a new list has no more
    for (const List& list : lists) entries += list.numbers.size();
    return lists.size() < maxLists && entries <= maxEntries;
  };
  if (hasRoom()) return true;
  std::erase_if(lists, [this](const List& list) { return list.lastUse + maxLists < uses; });
  return hasRoom();
}

ChildIndex::List ChildIndex::MakeList(ChildQuery query, Range named) const {
  List list{query.match, std::string(query.name), std::optional<std::string>(query.attribute),
            query.valueBegin.has_value(), query.filter.id};
  if (list.isByValue) query.valueBegin = ""; // whatever the value, if the filter accepts it
  std::string scratch;
  std::ranges::copy_if(named, std::back_inserter(list.numbers),
                       [&](std::uint32_t number) { return Matches(query, At(number), scratch); });
  if (list.isByValue) {
    SortByValue(list);
  } else if (list.match == NameMatch::Exact && list.numbers.size() == named.size()) {
    list.isWholeRange = true;
    list.numbers = Numbers(); // assigning {} would keep the memory
  } else {
    std::ranges::sort(list.numbers);
  }
  return list;
}

// Sorts by the beginnings of the values, equal ones in document order.
void ChildIndex::SortByValue(List& list) const {
  std::vector<std::pair<std::string_view, std::uint32_t>> values;
  std::deque<std::string> decoded; // the values that are not in the document as they are meant
  std::string scratch;
  for (const std::uint32_t number : list.numbers) {
    std::string_view begin = ValueBegin(number, *list.attribute, scratch, maxValueBegin);
    if (begin.data() == scratch.data()) begin = decoded.emplace_back(begin);
    values.emplace_back(begin, number);
  }
  std::ranges::sort(values);
  const std::size_t blockSize = BlockSize(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    list.numbers[i] = values[i].second;
    if (i % blockSize == 0) list.minima.push_back(list.numbers[i]);
    list.minima.back() = std::min(list.minima.back(), list.numbers[i]);
  }
}

void ChildIndex::Append(std::uint32_t child) {
  assert(data.NextSibling(child) == 0); // is last in document order
  const std::string_view name = data.NameOf(child);
  for (const NameMatch match : {NameMatch::Exact, NameMatch::Prefix}) {
    Numbers& numbers = SortedFor(match);
    const auto isBefore = std::bind_front(&ChildIndex::IsBefore, this, match);
    if (!numbers.empty()) numbers.insert(std::ranges::upper_bound(numbers, child, isBefore), child);
  }
  lastName.reset();
  // A new element can have declared attributes, and only a filter can tell whether its name counts.
  std::erase_if(lists, [](const List& list) { return list.attribute || list.filter != 0; });
  for (List& list : lists) {
    if (name.starts_with(list.name)) list.numbers.push_back(child);
  }
}

Element Element::FirstChild() const noexcept {
  if (IsNull()) return {};
  return Other(Data().FirstChild(number));
}

Element Element::NextSibling() const noexcept {
  DocumentData& data = Data();
  const std::uint32_t next = data.NextSibling(number);
  // So that removed siblings are passed by only once.
  if (next != data.elements[number].nextSibling) data.elements[number].nextSibling = next;
  return Other(next);
}

bool Element::IsIndexed() const noexcept {
  return (Data().elements[number].flags & element_flags::childrenIndexed) != 0;
}

ChildIndex& Element::Index() const {
  ChildIndex& index = document->childIndexes.try_emplace(number, *document, number).first->second;
  Data().elements[number].flags |= element_flags::childrenIndexed;
  return index;
}

void Element::DropIndex() noexcept {
  document->childIndexes.erase(number);
  Data().elements[number].flags &= ~element_flags::childrenIndexed;
}

Element Element::FindChild(const ChildQuery& query) const {
  assert(!query.valueBegin || (query.attribute && query.n == 1));
  if (IsNull() || query.n == 0) return {};
  std::uint32_t matches = 0;
  std::uint32_t scanned = 0;
  if (IsIndexed()) scanned = fewChildren;
  std::string scratch;
  for (Element child = FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (scanned++ == fewChildren) {
      if (const std::optional<Element> found = Index().Find(query)) return *found;
    }
    if (Matches(query, child, scratch) && ++matches == query.n) return child;
  }
  return {};
}

std::uint32_t Element::CountChildren(std::string_view name, NameMatch match) const {
  std::uint32_t count = 0;
  std::uint32_t scanned = 0;
  for (Element child = FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (++scanned > fewChildren) return Index().Count(match, name);
    if (IsNamed(match, name, child.GetName())) ++count;
  }
  return count;
}

} // namespace Ostrum
