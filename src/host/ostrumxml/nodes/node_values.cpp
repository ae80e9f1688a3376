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

std::vector<RawAttribute> SortedAttributes(std::string_view tag) {
  std::vector<RawAttribute> attributes;
  TagScanner scanner(tag);
  for (RawAttribute attribute{}; scanner.Next(attribute);) attributes.push_back(attribute);
  std::ranges::sort(attributes, {}, &RawAttribute::name);
  return attributes;
}

// Inserts the white space before new children, which is text of their parent, too, as it will be
// when the file is read again.
void InsertLeads(const DocumentData& data, std::uint32_t element, std::string& text) {
  std::string leads;
  for (const std::uint32_t child : data.changes.at(element).created)
    AppendCharacters(data.changes.at(child).lead, leads);
  if (leads.empty()) return;
  std::string trailing;
  AppendCharacters(ElementLayout(data, element).TrailingSpace().text, trailing);
  assert(text.ends_with(trailing));
  text.insert(text.size() - trailing.size(), leads);
}

} // namespace

std::string_view Element::GetName() const noexcept {
  if (IsNull()) return {};
  return Data().NameOf(number);
}

Value Element::Text() const {
  using Form = Value::Form;
  if (IsNull()) return {};
  const std::string_view inside = ElementLayout(Data(), number).Inside();
  const ElementChange* const change = Data().FindChange(number);
  if (change == nullptr) return {*this, inside, Form::Content};
  if (change->text) return {*this, *change->text, Form::Decoded};
  if (change->created.empty()) return {*this, inside, Form::Content};
  return {*this, inside, Form::ContentWithLeads};
}

// The raw value of the attribute in the element's tag, unless it is not there or was removed.
std::optional<std::string_view> Element::FindInTag(std::string_view name) const {
  const ElementChange* const change = Data().FindChange(number);
  if (change != nullptr && change->removedAttributes.contains(name)) return {};
  const std::string_view tag = ElementLayout(Data(), number).Attributes();
  if (tag.size() <= longTag) {
    TagScanner scanner(tag);
    for (RawAttribute attribute{}; scanner.Next(attribute);) {
      if (attribute.name == name) return attribute.value;
    }
    return {};
  }
  auto index = document->tagIndexes.find(number);
  if (index == document->tagIndexes.end())
    index = document->tagIndexes.emplace(number, SortedAttributes(tag)).first;
  const auto found = std::ranges::lower_bound(index->second, name, {}, &RawAttribute::name);
  if (found == index->second.end() || found->name != name) return {};
  return found->value;
}

Value Element::GetAttribute(std::string_view name) const {
  using Form = Value::Form;
  if (IsNull()) return {};
  if (const ElementChange* const change = Data().FindChange(number)) {
    const auto set = change->attributes.find(name);
    if (set != change->attributes.end()) return {*this, set->second.value, Form::Decoded};
  }
  const AttributeDeclaration* const declared = Data().FindDeclaration(GetName(), name);
  if (const auto raw = FindInTag(name)) {
    const bool isTokenized = declared != nullptr && declared->tokenized;
    return {*this, *raw, isTokenized ? Form::Tokenized : Form::Attribute};
  }
  if (declared == nullptr || !declared->value) return {};
  return {*this, *declared->value, Form::Decoded};
}

// Calls read with a reader of each part of the source that makes up the value.
template <class Read>
void Value::ReadParts(Read read) const {
  const DocumentData& data = owner.Data();
  if (!IsContent()) return read(TextReader(data, text, Source::AttributeValue));
  ElementLayout(data, owner.number).ForEachStretch([&](std::string_view stretch) {
    read(TextReader(data, stretch, Source::Content));
  });
}

std::string_view Value::GetValue(std::string& scratch, std::size_t limit) const {
  if (form == Form::Decoded) return text;
  if (form == Form::Content || form == Form::Attribute) {
    const std::string_view beginning = text.substr(0, limit);
    if (NeedsNoDecoding(beginning)) return beginning;
  } else {
    limit = std::string::npos; // folding shortens it; leads are inserted relative to its end
  }
  scratch.clear();
  ReadParts([&](TextReader reader) { reader.AppendRest(scratch, limit); });
  if (form == Form::Tokenized) scratch = FoldSpaces(scratch);
  if (form == Form::ContentWithLeads) InsertLeads(owner.Data(), owner.number, scratch);
  return scratch;
}

// Judges piece by piece, so that a long value from entities is not put together for that. White
// space that is not in the source is accepted by every filter.
bool Value::IsAccepted(const TextFilter& filter) const {
  constexpr std::size_t longValue = 256; // shorter ones are judged as quickly as looked up
  if (IsNull() || filter.AcceptsAll()) return true;
  auto& judged = owner.document->judgedValues;
  const std::pair key(text.data(), filter.id);
  if (const auto known = judged.find(key); known != judged.end()) return known->second;
  bool isAccepted = true;
  std::size_t size = 0;
  std::string piece;
  const auto judge = [&](TextReader reader) {
    while (isAccepted && reader.AppendNext(piece, std::string::npos)) {
      const std::size_t whole = ValidUtf8Prefix(piece); // a piece can end inside a character
      isAccepted = filter.Accepts(std::string_view(piece).substr(0, whole));
      piece.erase(0, whole);
      size += whole;
    }
  };
  if (form == Form::Decoded) {
    isAccepted = filter.Accepts(text);
    size = text.size();
  } else {
    ReadParts(judge);
  }
  assert(!isAccepted || piece.empty());
  if (size >= longValue) judged[key] = isAccepted;
  return isAccepted;
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

} // namespace Ostrum
