// Reading the names and values of elements and attributes.
#include <algorithm>
#include <cassert>
#include <map>
#include <new>
#include <set>

#include "host/ostrumxml/data/content_walker.h"
#include "host/ostrumxml/data/element_layout.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/nodes/indexed_document.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {
namespace {

using Source = TextReader::Source;

// Tags longer than this, in bytes, are searched by an index.
constexpr std::size_t longTag = 1024;

RawAttribute ScanTag(std::string_view tag, std::string_view name) noexcept {
  TagScanner scanner(tag);
  for (RawAttribute attribute{}; scanner.Next(attribute);) {
    if (attribute.name == name) return attribute;
  }
  return {};
}

std::vector<RawAttribute> SortedAttributes(std::string_view tag) {
  std::vector<RawAttribute> attributes;
  TagScanner scanner(tag);
  for (RawAttribute attribute{}; scanner.Next(attribute);) attributes.push_back(attribute);
  std::ranges::sort(attributes, {}, &RawAttribute::name);
  return attributes;
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
  assert(text.ends_with(trailing));
  text.insert(text.size() - trailing.size(), leads);
}

} // namespace

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
  layout.ForEachStretch([&](std::string_view stretch) {
    TextReader(data, stretch, Source::Content).AppendRest(scratch, limit);
  });
  if (hasCreated) InsertLeads(data, layout, *change, scratch);
  return scratch;
}

std::string_view Attribute::GetValue(std::string& scratch, std::size_t limit) const {
  if (form == Form::Decoded) return text;
  if (form == Form::RawTokenized) limit = std::string::npos; // folding shortens it
  if (form == Form::Raw && NeedsNoDecoding(text.substr(0, limit))) return text.substr(0, limit);
  scratch.clear();
  TextReader(owner.Data(), text, Source::AttributeValue).AppendRest(scratch, limit);
  if (form == Form::RawTokenized) scratch = FoldSpaces(scratch);
  return scratch;
}

// The attribute in the element's tag, or one of null data if it is not there or was removed.
RawAttribute Element::FindInTag(std::string_view name) const noexcept {
  const ElementChange* const change = Data().FindChange(number);
  if (change != nullptr && change->removedAttributes.contains(name)) return {};
  const std::string_view tag = ElementLayout(Data(), number).Attributes();
  if (tag.size() <= longTag) return ScanTag(tag, name);
  try {
    auto index = document->tagIndexes.find(number);
    if (index == document->tagIndexes.end())
      index = document->tagIndexes.emplace(number, SortedAttributes(tag)).first;
    const auto found = std::ranges::lower_bound(index->second, name, {}, &RawAttribute::name);
    if (found == index->second.end() || found->name != name) return {};
    return *found;
  } catch (const std::bad_alloc&) {
    return ScanTag(tag, name); // slower, but correct
  }
}

Attribute Element::GetAttribute(std::string_view name) const {
  using Form = Attribute::Form;
  if (IsNull() || name.empty()) return {};
  if (const ElementChange* const change = Data().FindChange(number)) {
    const auto set = change->attributes.find(name);
    if (set != change->attributes.end())
      return {*this, set->first, set->second.value, Form::Decoded};
  }
  const AttributeDeclarations::value_type* const declared = Data().FindDeclaration(GetName(), name);
  const RawAttribute raw = FindInTag(name);
  if (raw.name.data() != nullptr) {
    const bool isTokenized = declared != nullptr && declared->second.tokenized;
    return {*this, raw.name, raw.value, isTokenized ? Form::RawTokenized : Form::Raw};
  }
  if (declared == nullptr || !declared->second.value) return {};
  return {*this, declared->first, *declared->second.value, Form::Decoded};
}

std::vector<std::string_view> Element::AttributeNames() const {
  if (IsNull()) return {};
  std::vector<std::string_view> names;
  std::set<std::string_view> known;
  const auto add = [&](std::string_view name) {
    if (known.insert(name).second) names.push_back(name);
  };
  const ElementChange* const change = Data().FindChange(number);
  TagScanner scanner(ElementLayout(Data(), number).Attributes());
  for (RawAttribute raw{}; scanner.Next(raw);) {
    if (change == nullptr || !change->removedAttributes.contains(raw.name)) add(raw.name);
  }
  if (change != nullptr) {
    std::map<std::uint64_t, std::string_view> inOrder;
    for (const auto& [name, set] : change->attributes) inOrder.emplace(set.order, name);
    for (const auto& [order, name] : inOrder) add(name);
  }
  if (const AttributeDeclarations* const declared = Data().FindDeclarations(GetName())) {
    for (const auto& [name, declaration] : *declared)
      if (declaration.value) add(name);
  }
  return names;
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

// Judges the text piece by piece, so that a long one from entities is not put together for that.
bool Element::IsValueAccepted(const TextFilter& filter) const {
  if (IsNull() || IsKnownAccepted({}, filter)) return true;
  if (Data().FindChange(number) != nullptr) return filter.Accepts(GetValue());
  bool isAccepted = true;
  std::size_t size = 0;
  std::string text;
  ElementLayout(Data(), number).ForEachStretch([&](std::string_view stretch) {
    TextReader reader(Data(), stretch, Source::Content);
    while (isAccepted && reader.AppendNext(text, std::string::npos)) {
      const std::size_t whole = ValidUtf8Prefix(text); // a piece can end inside a character
      isAccepted = filter.Accepts(std::string_view(text).substr(0, whole));
      text.erase(0, whole);
      size += whole;
    }
    assert(!isAccepted || text.empty());
  });
  if (isAccepted) RememberAccepted({}, size, filter);
  return isAccepted;
}

bool Attribute::IsValueAccepted(const TextFilter& filter) const {
  if (IsNull() || owner.IsKnownAccepted(name, filter)) return true;
  std::string scratch;
  const std::string_view value = GetValue(scratch);
  if (!filter.Accepts(value)) return false;
  owner.RememberAccepted(name, value.size(), filter);
  return true;
}

} // namespace Ostrum
