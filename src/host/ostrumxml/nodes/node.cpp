#include "host/ostrumxml/nodes/node.h"

#include <cassert>
#include <iterator>
#include <map>
#include <new>
#include <stdexcept>

#include "host/ostrumxml/data/content_walker.h"
#include "host/ostrumxml/data/element_layout.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/data/xml_text.h"
#include "host/ostrumxml/nodes/indexed_document.h"

namespace Ostrum {
namespace {

// Tags longer than this, in bytes, and children after this many others are found by an index.
constexpr std::size_t longTag = 1024;
constexpr std::uint32_t fewChildren = 24;

RawAttribute ScanTag(std::string_view tag, std::string_view name) noexcept {
  TagScanner scanner(tag);
  RawAttribute attribute{};
  while (scanner.Next(attribute)) {
    if (attribute.name == name) return attribute;
  }
  return {};
}

// The attribute in the element's tag, or one of null data if it is not there or was removed.
RawAttribute FindInTag(IndexedDocument& document, std::uint32_t element,
                       std::string_view name) noexcept {
  const ElementChange* const change = document.data.FindChange(element);
  if (change != nullptr && change->removedAttributes.contains(name)) return {};
  const std::string_view tag = ElementLayout(document.data, element).Attributes();
  if (tag.size() <= longTag) return ScanTag(tag, name);
  try {
    return document.tagIndexes.try_emplace(element, tag).first->second.Find(name);
  } catch (const std::bad_alloc&) {
    return ScanTag(tag, name); // slower, but correct
  }
}

// Inserts the white space before new children, which is text of their parent, too, as it will be
// when the file is read again.
void InsertLeads(const DocumentData& data, const ElementLayout& layout, const ElementChange& change,
                 std::string& text) {
  std::string leads;
  for (const std::uint32_t child : change.created)
    AppendCharacters(data.changes.at(child).lead, leads);
  if (leads.empty()) return;
  std::string trailing;
  AppendCharacters(layout.TrailingSpace().text, trailing);
  text.insert(text.size() - trailing.size(), leads);
}

// Adds where a child was, joined with gaps in it and next to it.
void AddGap(SourceRange range, std::map<std::uint32_t, std::uint32_t>& gaps) {
  const auto next = gaps.lower_bound(range.start);
  if (next != gaps.begin() && std::prev(next)->second == range.start)
    range.start = std::prev(next)->first;
  const auto after = gaps.find(range.end);
  if (after != gaps.end()) range.end = after->second;
  gaps[range.start] = range.end;
  gaps.erase(gaps.upper_bound(range.start), gaps.lower_bound(range.end));
}

} // namespace

std::string_view Attribute::GetValue(std::string& scratch, std::size_t limit) const {
  if (IsNull()) return {};
  return owner.AttributeValue(name, raw, scratch, limit);
}

inline DocumentData& Element::Data() const noexcept {
  assert(!IsNull());
  return document->data;
}

// An element of the same document; null for 0.
inline Element Element::Other(std::uint32_t element) const noexcept {
  if (element == 0) return {};
  return {*document, element};
}

Element Element::NextSibling() const noexcept {
  DocumentData& data = Data();
  const std::uint32_t next = data.NextSibling(number);
  // So that removed siblings are passed by only once.
  if (data.hasRemoved) data.elements[number].nextSibling = next;
  return Other(next);
}

Element Element::FirstChild() const noexcept {
  if (IsNull()) return {};
  return Other(Data().FirstChild(number));
}

std::string_view Element::GetName() const noexcept {
  if (IsNull()) return {};
  return Data().NameOf(number);
}

std::string_view Element::GetValue(std::string& scratch, std::size_t limit) const {
  if (IsNull()) return {};
  const DocumentData& data = Data();
  const ElementLayout layout(data, number);
  if (data.elements[number].flags == 0) {
    const std::string_view beginning = layout.Inside().substr(0, limit);
    if (NeedsNoDecoding(beginning)) return beginning;
  }
  const ElementChange* const change = data.FindChange(number);
  if (change != nullptr && change->text) return *change->text;

  const bool hasCreated = change != nullptr && !change->created.empty();
  if (hasCreated) limit = std::string::npos; // leads are inserted relative to the text's end
  scratch.clear();
  layout.ForEachStretch(
      [&](std::string_view stretch) { AppendOwnText(data, stretch, scratch, limit); });
  if (hasCreated) InsertLeads(data, layout, *change, scratch);
  return scratch;
}

bool Element::IsKnownAccepted(std::string_view attributeName, const TextFilter& filter) const {
  const auto& known = document->acceptedValues;
  if (known.empty()) return false;
  const auto entry = known.find({number, std::string(attributeName)});
  return entry != known.end() && entry->second == filter.id;
}

// Short values are judged again as quickly as they are looked up.
void Element::RememberAccepted(std::string_view attributeName, std::size_t size,
                               const TextFilter& filter) const {
  constexpr std::size_t longValue = 4096;
  if (size < longValue) return;
  document->acceptedValues[{number, std::string(attributeName)}] = filter.id;
}

// Judges the text in parts, so that a long one from entities is not put together for that.
bool Element::IsValueAccepted(const TextFilter& filter) const {
  if (IsNull() || IsKnownAccepted({}, filter)) return true;
  if (Data().FindChange(number) != nullptr) return filter.accepts(GetValue());
  constexpr std::size_t partSize = 65'536;
  std::string part;
  std::size_t size = 0;
  bool isAccepted = true;
  const auto judge = [&](std::size_t length) {
    isAccepted = isAccepted && filter.accepts(std::string_view(part).substr(0, length));
    part.erase(0, length);
    size += length;
  };
  ElementLayout(Data(), number).ForEachStretch([&](std::string_view stretch) {
    OwnTextReader reader(Data(), stretch);
    while (isAccepted && reader.AppendNext(part, std::string::npos)) {
      // A piece can end inside a character.
      if (part.size() >= partSize) judge(ValidUtf8Prefix(part));
    }
  });
  judge(part.size());
  if (isAccepted) RememberAccepted({}, size, filter);
  return isAccepted;
}

bool Attribute::IsValueAccepted(const TextFilter& filter) const {
  if (IsNull() || owner.IsKnownAccepted(name, filter)) return true;
  std::string scratch;
  const std::string_view value = GetValue(scratch);
  if (!filter.accepts(value)) return false;
  owner.RememberAccepted(name, value.size(), filter);
  return true;
}

Attribute Element::GetAttribute(std::string_view attributeName) const {
  if (IsNull() || attributeName.empty()) return {};
  const DocumentData& data = Data();
  const RawAttribute raw = FindInTag(*document, number, attributeName);
  if (raw.name.data() != nullptr) return {*this, raw.name, raw.value};
  if (const ElementChange* const change = data.FindChange(number)) {
    const auto set = change->attributes.find(attributeName);
    if (set != change->attributes.end()) return {*this, set->first, {}};
  }
  const AttributeDeclarations* const declared = data.FindDeclarations(GetName());
  if (declared == nullptr) return {};
  const auto declaration = declared->find(attributeName);
  if (declaration == declared->end() || !declaration->second.value) return {};
  return {*this, declaration->first, {}};
}

std::string_view Element::AttributeValue(std::string_view attributeName, std::string_view raw,
                                         std::string& scratch, std::size_t limit) const {
  const DocumentData& data = Data();
  if (const ElementChange* const change = data.FindChange(number)) {
    const auto set = change->attributes.find(attributeName);
    if (set != change->attributes.end()) return set->second.value;
  }
  const AttributeDeclaration* const declaration = data.FindDeclaration(GetName(), attributeName);
  if (raw.data() == nullptr) return declaration->value.value();

  const bool isTokenized = declaration != nullptr && declaration->tokenized;
  if (!isTokenized && NeedsNoDecoding(raw.substr(0, limit))) return raw.substr(0, limit);
  if (isTokenized) limit = std::string::npos;
  scratch.clear();
  AppendAttributeValue(data, raw, scratch, limit);
  if (isTokenized) scratch = FoldSpaces(scratch);
  return scratch;
}

Attribute Element::CreateAttribute(std::string_view attributeName) {
  if (!CanBeChanged() || !IsXmlName(attributeName) || !GetAttribute(attributeName).IsNull())
    return {};
  return {*this, attributeName, {}};
}

Element Element::AddElementInto(std::string_view elementName) {
  if (!CanBeChanged() || !IsXmlName(elementName)) return {};

  // Everything that can fail comes first, so that a failure leaves the document unchanged.
  DocumentData& data = Data();
  const std::uint32_t nameNumber = data.names.InternCopy(elementName);
  std::string lead = LeadOfNextChild();
  document->acceptedValues.clear(); // the lead is text of this element
  const std::uint32_t child = data.elements.Add();
  data.ChangeOf(child).lead = std::move(lead);
  data.elements[child].name = nameNumber;
  data.elements[child].flags |= element_flags::created;
  ElementChange& change = data.ChangeOf(number);
  change.created.reserve(change.created.size() + 1);
  AddToIndex(child);

  if (const std::uint32_t last = LastChild()) {
    data.elements[last].nextSibling = child;
  } else if (change.firstChild) {
    change.firstChild = child;
  }
  change.created.push_back(child);
  return {*document, child};
}

void Element::RemoveChild(Element child) {
  assert(document == child.document && number != child.number);
  if (!CanBeChanged() || !child.CanBeChanged())
    throw std::invalid_argument("the element comes from an entity");
  DocumentData& data = Data();
  if (data.IsRemoved(child.number)) return;
  ElementChange& change = data.ChangeOf(number);
  if (child.IsCreated()) {
    std::erase(change.created, child.number);
  } else {
    AddGap(ElementLayout(data, child.number).Removal(number), change.gaps);
  }
  const std::uint32_t first = data.FirstChild(number);
  data.hasRemoved = true;
  data.elements[child.number].flags |= element_flags::removed;
  change.firstChild = first == child.number ? data.NextSibling(first) : first;
  document->acceptedValues.clear(); // the white space around it was text of this element
  DropIndex();
}

std::uint32_t Element::LastChild() const noexcept {
  const DocumentData& data = Data();
  const ElementChange* const change = data.FindChange(number);
  if (change != nullptr && !change->created.empty()) return change->created.back();
  std::uint32_t last = 0;
  for (auto child = data.FirstChild(number); child != 0; child = data.NextSibling(child))
    last = child;
  return last;
}

// A new child begins a line of its own if its last sibling does.
std::string Element::LeadOfNextChild() const {
  const DocumentData& data = Data();
  const ElementChange* const change = data.FindChange(number);
  const std::uint32_t last = LastChild();
  if (last == 0 || (change != nullptr && change->text)) return {};
  if (Other(last).IsCreated()) return data.changes.at(last).lead;
  return ElementLayout(data, last).Lead(number);
}

bool Element::IsCreated() const noexcept {
  return !IsNull() && (Data().elements[number].flags & element_flags::created) != 0;
}

bool Element::CanBeChanged() const noexcept {
  return !IsNull() && Data().IsInFile(Data().elements[number].tagStart);
}

bool Element::TextCanBeReplaced() const {
  if (!CanBeChanged()) return false;
  const DocumentData& data = Data();
  const ElementChange* const change = data.FindChange(number);
  if (change != nullptr && change->text) return true; // it has been replaced already
  bool isReplaceable = true;
  ElementLayout(data, number).ForEachStretch([&](std::string_view stretch) {
    if (stretch.find('&') == std::string_view::npos) return; // refers to no entity
    ContentWalker walker(data, stretch);
    Piece piece{};
    // A tag between the child elements comes from an entity.
    while (isReplaceable && walker.Next(piece))
      isReplaceable = piece.kind < PieceKind::StartTag && !IsUnknownReference(piece);
  });
  return isReplaceable;
}

void Value::Set(std::string_view text) {
  if (owner.IsNull()) throw std::invalid_argument("a null node has no value to set");
  if (!IsXmlText(text)) throw std::invalid_argument("XML can't carry this text");
  if (attribute.empty()) {
    owner.SetText(text);
  } else {
    owner.SetAttribute(attribute, text);
  }
}

// Setting the present value changes nothing, so that it keeps the form in which it was written.
void Element::SetText(std::string_view text) {
  if (!TextCanBeReplaced())
    throw std::invalid_argument(
        "the text refers to an entity that contains elements or is not known");
  if (std::string scratch; GetValue(scratch) == text) return;
  DocumentData& data = Data();
  document->acceptedValues.clear();
  ElementChange& change = data.ChangeOf(number);
  change.text = text;
  // The white space before the new children was text of this element.
  for (const std::uint32_t child : change.created) data.ChangeOf(child).lead.clear();
}

void Element::SetAttribute(std::string_view attributeName, std::string_view value) {
  if (!CanBeChanged()) throw std::invalid_argument("the element comes from an entity");
  DocumentData& data = Data();
  if (!data.CanHold(GetName(), attributeName, value))
    throw std::invalid_argument("the attribute's type can't carry these blanks");
  const RawAttribute raw = FindInTag(*document, number, attributeName);
  std::string scratch;
  const bool isInTag = raw.name.data() != nullptr;
  // A reference to an unknown entity reads as nothing, but is not nothing to other programs.
  if (isInTag && !HasUnknownReference(data, raw.value) &&
      AttributeValue(attributeName, raw.value, scratch, std::string::npos) == value)
    return;

  document->acceptedValues.clear();
  std::string text(value);
  auto& attributes = data.ChangeOf(number).attributes;
  const std::uint64_t order = data.attributesSet;
  const auto set =
      attributes.try_emplace(std::string(attributeName), ElementChange::SetAttribute{{}, order})
          .first;
  set->second.value = std::move(text);
  ++data.attributesSet;
}

void Element::RemoveAttribute(std::string_view attributeName) {
  if (!CanBeChanged()) throw std::invalid_argument("the element comes from an entity");
  if (GetAttribute(attributeName).IsNull()) throw std::invalid_argument("no such attribute");
  DocumentData& data = Data();
  const bool isInTag = FindInTag(*document, number, attributeName).name.data() != nullptr;
  ElementChange& change = data.ChangeOf(number);
  const auto set = change.attributes.find(attributeName);
  if (!isInTag && set == change.attributes.end())
    throw std::invalid_argument("only the document type declares the attribute");
  if (isInTag) change.removedAttributes.emplace(attributeName);
  if (set != change.attributes.end()) change.attributes.erase(set);
  document->acceptedValues.clear();
  ++data.attributesSet;
}

std::vector<std::string_view> Element::AttributeNames() const {
  if (IsNull()) return {};
  const DocumentData& data = Data();
  const ElementChange* const change = data.FindChange(number);
  std::vector<std::string_view> names;
  TagScanner scanner(ElementLayout(data, number).Attributes());
  for (RawAttribute raw{}; scanner.Next(raw);) {
    if (change == nullptr || !change->removedAttributes.contains(raw.name))
      names.push_back(raw.name);
  }
  const auto isInTag = [&](std::string_view name) {
    return FindInTag(*document, number, name).name.data() != nullptr;
  };
  std::map<std::uint64_t, std::string_view> added; // by order
  if (change != nullptr) {
    for (const auto& [name, set] : change->attributes)
      if (!isInTag(name)) added.emplace(set.order, name);
  }
  for (const auto& [order, name] : added) names.push_back(name);
  const AttributeDeclarations* const declared = data.FindDeclarations(GetName());
  if (declared == nullptr) return names;
  for (const auto& [name, declaration] : *declared) {
    const bool isSet = change != nullptr && change->attributes.contains(name);
    if (declaration.value && !isSet && !isInTag(name)) names.push_back(name);
  }
  return names;
}

bool Element::IsIndexed() const noexcept {
  return (Data().elements[number].flags & element_flags::childrenIndexed) != 0;
}

ChildIndex& Element::Index() const {
  ChildIndex& index = document->childIndexes.try_emplace(number, *document, number).first->second;
  Data().elements[number].flags |= element_flags::childrenIndexed;
  return index;
}

// If there is no memory for the new entry, drops the index; the next search builds it again.
void Element::AddToIndex(std::uint32_t newChild) noexcept {
  if (!IsIndexed()) return;
  try {
    Index().Append(newChild);
  } catch (const std::bad_alloc&) {
    DropIndex();
  }
}

void Element::DropIndex() noexcept {
  document->childIndexes.erase(number);
  Data().elements[number].flags &= ~element_flags::childrenIndexed;
}

// Whether the element, as a child, is one that the query asks for, whatever its n.
bool Element::Matches(const ChildQuery& query, std::string& scratch) const {
  const std::string_view ownName = GetName();
  if (!ownName.starts_with(query.name)) return false;
  if (query.match == NameMatch::Exact && ownName.size() != query.name.size()) return false;
  if (!query.Accepts(ownName)) return false;
  if (!query.attribute) return true;
  const Attribute found = GetAttribute(*query.attribute);
  if (found.IsNull()) return false;
  if (!query.valueBegin) return true;
  if (!found.GetValue(scratch, query.valueBegin->size()).starts_with(*query.valueBegin))
    return false;
  return query.filter.AcceptsAll() || query.filter.Accepts(found.GetValue(scratch));
}

// Nothing if only a scan can tell: there is no memory for the index, or no room for another list.
std::optional<Element> Element::FindByIndex(const ChildQuery& query) const {
  try {
    return Index().Find(query);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
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

Element Element::FindChild(const ChildQuery& query) const {
  assert(!query.valueBegin || (query.attribute && query.n == 1));
  if (IsNull() || query.n == 0) return {};
  std::uint32_t untilIndex = fewChildren;
  if (IsIndexed()) untilIndex = 0;
  std::uint32_t matches = 0;
  std::string scratch;
  for (Element child = FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (untilIndex-- == 0) {
      if (const std::optional<Element> found = FindByIndex(query)) return *found;
    }
    if (child.Matches(query, scratch) && ++matches == query.n) return child;
  }
  return {};
}

} // namespace Ostrum
