// Finding the children of an element.
#include <cassert>
#include <new>

#include "host/ostrumxml/nodes/child_matcher.h"
#include "host/ostrumxml/nodes/indexed_document.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {
namespace {

// Children after this many others are found by an index.
constexpr std::uint32_t fewChildren = 24;

} // namespace

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

// Nothing if only a scan can tell: there is no memory for the index, or no room for another list.
std::optional<Element> Element::FindByIndex(const ChildQuery& query) const {
  try {
    return Index().Find(query);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

Element Element::FindChild(const ChildQuery& query) const {
  assert(!query.valueBegin || (query.attribute && query.n == 1));
  if (IsNull() || query.n == 0) return {};
  if (IsIndexed()) {
    if (const std::optional<Element> found = FindByIndex(query)) return *found;
  }
  std::uint32_t scanned = 0;
  std::uint32_t matches = 0;
  ChildMatcher matcher(query);
  for (Element child = FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (scanned++ == fewChildren && !IsIndexed()) {
      if (const std::optional<Element> found = FindByIndex(query)) return *found;
    }
    if (matcher.Matches(child) && ++matches == query.n) return child;
  }
  return {};
}

std::uint32_t Element::CountChildren(std::string_view name) const {
  std::uint32_t count = 0;
  std::uint32_t scanned = 0;
  for (Element child = FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (IsIndexed() || ++scanned > fewChildren) return Index().Count(name);
    if (child.GetName() == name) ++count;
  }
  return count;
}

} // namespace Ostrum
