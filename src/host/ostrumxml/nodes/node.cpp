#include "host/ostrumxml/nodes/node.h"

#include <new>
#include <stdexcept>

#include "host/ostrumxml/data/content.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"

namespace Ostrum {
namespace {

// Tags longer than this, in bytes, and children behind so many others are found by an index.
constexpr std::size_t longTag = 1024;
constexpr std::uint32_t fewChildren = 24;

Content& ContentOf(const Element& element) noexcept { return ElementTable::ContentOf(element); }

RawAttribute ScanTag(std::string_view tag, std::string_view name) noexcept {
  TagScanner scanner(tag);
  RawAttribute attribute{};
  while (scanner.Next(attribute)) {
    if (attribute.name == name) return attribute;
  }
  return {};
}

// The attribute as it stands in the tag, or one of null data.
RawAttribute FindInTag(Content& content, const Element& element, std::string_view name) noexcept {
  const std::string_view tag = ElementLayout(content, element).Attributes();
  if (tag.size() <= longTag) return ScanTag(tag, name);
  try {
    return content.tagIndexes.try_emplace(&element, tag).first->second.Find(name);
  } catch (const std::bad_alloc&) {
    return ScanTag(tag, name); // longer, but as right
  }
}

// The white space that new children brought along is text of their parent, too, as it will be when
// the file is read again.
void InsertLeads(const Content& content, const ElementLayout& layout, const ElementChange& change,
                 std::string& text) {
  std::string leads;
  for (const Element* child : change.created)
    AppendCharacters(content.changes.at(child).lead, leads);
  if (leads.empty()) return;
  std::string trailing;
  AppendCharacters(layout.TrailingBlanks(), trailing);
  text.insert(text.size() - trailing.size(), leads);
}

} // namespace

constinit Element Element::null;

std::string_view Attribute::GetValue(std::string& scratch, std::size_t limit) const {
  return IsNull() ? std::string_view() : owner->AttributeValue(name, raw, scratch, limit);
}

IteratorRef& IteratorRef::operator++() noexcept {
  const std::uint32_t next = position->nextSibling;
  position = next == 0 ? nullptr : &ContentOf(*position).elements.At(next);
  return *this;
}

IteratorRef NodeContainer::Begin() const noexcept {
  const auto& element = static_cast<const Element&>(*this);
  if ((element.flags & element_flags::hasParsedChildren) != 0) {
    return IteratorRef(&ElementTable::Following(element));
  }
  if ((element.flags & element_flags::changed) == 0) return End();
  const ElementChange* const change = ContentOf(element).FindChange(element);
  return IteratorRef(change->created.empty() ? nullptr : change->created.front());
}

std::string_view Element::GetName() const noexcept {
  return IsNull() ? std::string_view() : ContentOf(*this).names.Text(name);
}

std::string_view Element::GetValue(std::string& scratch, std::size_t limit) const {
  if (IsNull()) return {};
  const Content& content = ContentOf(*this);
  const ElementLayout layout(content, *this);
  if (flags == 0) {
    const std::string_view beginning = layout.Inside().substr(0, limit);
    if (StandsForItself(beginning)) return beginning;
  }
  const ElementChange* const change = content.FindChange(*this);
  if (change != nullptr && change->text) return *change->text;

  const bool hasCreated = change != nullptr && !change->created.empty();
  if (hasCreated) limit = std::string::npos; // what is inserted goes by the end of the text
  scratch.clear();
  layout.ForEachStretch(
      [&](std::string_view stretch) { AppendOwnText(content, stretch, scratch, limit); });
  if (hasCreated) InsertLeads(content, layout, *change, scratch);
  return scratch;
}

Attribute Element::GetAttribute(std::string_view attributeName) const {
  if (IsNull() || attributeName.empty()) return {};
  Content& content = ContentOf(*this);
  // Looking up changes nothing; what comes back can be set through, as the element itself can.
  auto* const self = const_cast<Element*>(this);
  const RawAttribute raw = FindInTag(content, *this, attributeName);
  if (raw.name.data() != nullptr) return {self, raw.name, raw.value};
  if (const ElementChange* const change = content.FindChange(*this)) {
    const auto set = change->attributes.find(attributeName);
    if (set != change->attributes.end()) return {self, set->first, {}};
  }
  const AttributeDeclarations* const declared = content.FindDeclarations(GetName());
  if (declared == nullptr) return {};
  const auto declaration = declared->find(attributeName);
  if (declaration == declared->end() || !declaration->second.value) return {};
  return {self, declaration->first, {}};
}

std::string_view Element::AttributeValue(std::string_view attributeName, std::string_view raw,
                                         std::string& scratch, std::size_t limit) const {
  const Content& content = ContentOf(*this);
  if (const ElementChange* const change = content.FindChange(*this)) {
    const auto set = change->attributes.find(attributeName);
    if (set != change->attributes.end()) return set->second.value;
  }
  const AttributeDeclaration* const declaration = content.FindDeclaration(GetName(), attributeName);
  if (raw.data() == nullptr) return declaration->value.value();

  const bool isTokenized = declaration != nullptr && declaration->tokenized;
  if (!isTokenized && StandsForItself(raw.substr(0, limit))) return raw.substr(0, limit);
  scratch.clear();
  AppendAttributeValue(content, raw, scratch, isTokenized ? std::string::npos : limit);
  if (isTokenized) scratch = FoldBlanks(scratch);
  return scratch;
}

Attribute Element::CreateAttribute(std::string_view attributeName) {
  if (!CanBeChanged() || !IsXmlName(attributeName) || !GetAttribute(attributeName).IsNull())
    return {};
  return {this, attributeName, {}};
}

Element& Element::AddElementInto(std::string_view elementName) {
  if (!CanBeChanged() || !IsXmlName(elementName)) return null;

  // All that can fail comes first, so that a failure leaves the document as it was.
  Content& content = ContentOf(*this);
  const std::uint32_t nameNumber = content.names.InternCopy(elementName);
  content.NoteSet(elementName);
  std::string lead = LeadOfNextChild(content);
  Element& child = content.elements.Add();
  content.ChangeOf(child).lead = std::move(lead);
  child.name = nameNumber;
  child.flags |= element_flags::created;
  ElementChange& change = content.ChangeOf(*this);
  change.created.reserve(change.created.size() + 1);
  if ((flags & element_flags::childrenIndexed) != 0) KeepIndexed(child);

  Element* last = change.created.empty() ? nullptr : change.created.back();
  if (last == nullptr) {
    for (auto sibling = Begin(); !(sibling == End()); ++sibling) last = &*sibling;
  }
  if (last != nullptr) last->nextSibling = ElementTable::NumberOf(child);
  change.created.push_back(&child);
  return child;
}

// A new child stands on a line of its own where its last sibling does.
std::string Element::LeadOfNextChild(const Content& content) const {
  const ElementChange* const change = content.FindChange(*this);
  if (change != nullptr && change->text) return {};
  if (change != nullptr && !change->created.empty())
    return content.changes.at(change->created.back()).lead;
  const Element* last = nullptr;
  for (auto child = Begin(); !(child == End()); ++child) last = &*child;
  return last == nullptr ? std::string() : std::string(ElementLayout(content, *last).Lead(*this));
}

bool Element::IsCreated() const noexcept { return (flags & element_flags::created) != 0; }

bool Element::CanBeChanged() const noexcept {
  return !IsNull() && ContentOf(*this).IsInFile(tagStart);
}

bool Element::TextCanBeReplaced() const {
  if (!CanBeChanged()) return false;
  const Content& content = ContentOf(*this);
  if (!content.hasElementsFromEntities) return true;
  bool holdsTags = false;
  ElementLayout(content, *this).ForEachStretch([&](std::string_view stretch) {
    ContentWalker walker(content,
                         stretch); // a tag in a stretch between the children comes from an entity
    Piece piece{};
    while (walker.Next(piece)) holdsTags = holdsTags || piece.kind >= PieceKind::StartTag;
  });
  return !holdsTags;
}

void Value::Set(std::string_view text) {
  if (owner == nullptr) throw std::invalid_argument("a null node has no value to set");
  if (!IsXmlText(text)) throw std::invalid_argument("XML can't carry this text");
  if (attribute.empty()) {
    owner->SetText(text);
  } else {
    owner->SetAttribute(attribute, text);
  }
}

// Setting what is there already changes nothing, so that it keeps the form in which it was written.
void Element::SetText(std::string_view text) {
  if (!TextCanBeReplaced())
    throw std::invalid_argument("the text holds elements that come from an entity");
  if (std::string scratch; GetValue(scratch) == text) return;
  Content& content = ContentOf(*this);
  ElementChange& change = content.ChangeOf(*this);
  change.text = text;
  content.NoteSet(text);
  // The white space in front of the new children was text of this element.
  for (Element* child : change.created) content.ChangeOf(*child).lead.clear();
}

void Element::SetAttribute(std::string_view attributeName, std::string_view value) {
  if (!CanBeChanged()) throw std::invalid_argument("the element comes from an entity");
  if (!ContentOf(*this).CanHold(GetName(), attributeName, value))
    throw std::invalid_argument("the attribute's type can't carry these blanks");
  const RawAttribute raw = FindInTag(ContentOf(*this), *this, attributeName);
  if (std::string scratch;
      raw.name.data() != nullptr &&
      AttributeValue(attributeName, raw.value, scratch, std::string::npos) == value)
    return;

  Content& content = ContentOf(*this);
  std::string text(value);
  auto& attributes = content.ChangeOf(*this).attributes;
  const std::size_t order = attributes.size();
  const auto set =
      attributes.try_emplace(std::string(attributeName), ElementChange::SetAttribute{{}, order})
          .first;
  set->second.value = std::move(text);
  content.NoteSet(attributeName);
  content.NoteSet(value);
  ++content.attributesSet;
}

ChildIndex& Element::Index() const {
  Content& content = ContentOf(*this);
  ChildIndex& index = content.childIndexes.try_emplace(this, content, *this).first->second;
  const_cast<Element*>(this)->flags |= element_flags::childrenIndexed;
  return index;
}

void Element::KeepIndexed(const Element& newChild) noexcept {
  try {
    Index().Append(newChild);
  } catch (const std::bad_alloc&) { // made again by the next search
    ContentOf(*this).childIndexes.erase(this);
    flags &= ~element_flags::childrenIndexed;
  }
}

// The n-th child for which matches holds, given its name. As many children as a handful are looked
// at one by one; those behind them are found by the index, unless there is no memory for it.
template <class Matches, class SearchIndex>
Element& Element::SearchChildren(std::uint32_t n, Matches matches, SearchIndex searchIndex) const {
  if (n == 0 || IsNull()) return null;
  const NameTable& names = ContentOf(*this).names;
  std::uint32_t untilIndex = (flags & element_flags::childrenIndexed) != 0 ? 0 : fewChildren;
  for (auto child = Begin(); !(child == End()); ++child) {
    if (untilIndex-- == 0) {
      try {
        Element* const found = searchIndex(Index());
        return found == nullptr ? null : *found;
      } catch (const std::bad_alloc&) {
      }
    }
    if (matches(*child, names.Text(child->name)) && --n == 0) return *child;
  }
  return null;
}

Element& Element::NthChild(NameMatch match, std::string_view text, std::uint32_t n) const {
  const std::size_t longest = match == NameMatch::Exact ? text.size() : std::string_view::npos;
  return SearchChildren(
      n,
      [text, longest](const Element&, std::string_view ownName) {
        // Most names differ in their first letter, and comparing it takes less than a call.
        const bool maybe = text.empty() || ownName.front() == text.front();
        return maybe && ownName.size() <= longest && ownName.starts_with(text);
      },
      [match, text, n](ChildIndex& index) { return index.Nth(match, text, n); });
}

Element& Element::NthChildWithAttribute(std::string_view childName, std::string_view attributeName,
                                        std::uint32_t n) const {
  return SearchChildren(
      n,
      [childName, attributeName](const Element& child, std::string_view ownName) {
        return ownName == childName && !child.GetAttribute(attributeName).IsNull();
      },
      [&](ChildIndex& index) { return index.NthWithAttribute(childName, attributeName, n); });
}

Element& Element::FirstChildWithValue(std::string_view nameBegin, std::string_view attributeName,
                                      std::string_view valueBegin) const {
  std::string scratch;
  return SearchChildren(
      1,
      [&](const Element& child, std::string_view ownName) {
        if (!ownName.starts_with(nameBegin)) return false;
        const Attribute attribute = child.GetAttribute(attributeName);
        return !attribute.IsNull() &&
               attribute.GetValue(scratch, valueBegin.size()).starts_with(valueBegin);
      },
      [&](ChildIndex& index) {
        return index.FirstWithValue(nameBegin, attributeName, valueBegin);
      });
}

bool Element::DocumentIsAscii() const noexcept {
  return !IsNull() && ContentOf(*this).IsAsciiOnly();
}

bool Element::HasManyChildren() const noexcept {
  std::uint32_t passed = (flags & element_flags::childrenIndexed) != 0 ? fewChildren : 0;
  for (auto child = Begin(); !(child == End()); ++child) {
    if (passed++ == fewChildren) return true;
  }
  return false;
}

// Lack of memory for the index means that it is as good as not known.

bool Element::ChildNamesAreAscii() const try {
  if (DocumentIsAscii()) return true;
  if (HasManyChildren()) return Index().NamesAreAscii();
  for (auto child = Begin(); !(child == End()); ++child) {
    if (!IsAscii(child->GetName())) return false;
  }
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool Element::ChildValuesAreAscii(std::string_view nameBegin, std::string_view attributeName) const
    try {
  return HasManyChildren() && Index().ValuesAreAscii(nameBegin, attributeName);
} catch (const std::bad_alloc&) {
  return false;
}

std::vector<std::string_view> Element::ChildNames() const try {
  return HasManyChildren() ? Index().Names() : std::vector<std::string_view>();
} catch (const std::bad_alloc&) {
  return {};
}

} // namespace Ostrum
