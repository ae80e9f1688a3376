// Reading the names and values of elements and attributes.
#include <algorithm>
#include <cassert>
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
  std::string trailing;
  AppendCharacters(ElementLayout(data, element).SpaceAfterNewChildren().text, trailing);
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
  const ElementChange& change = Data().ChangeOf(number);
  if (change.text) return {*this, *change.text, Form::Set};
  if (change.created.empty()) return {*this, inside, Form::Content};
  return {*this, inside, Form::ContentWithLeads};
}

// The raw value of the attribute in the element's tag, if it is there, whether or not it was
// removed.
std::optional<std::string_view> Element::FindInTag(std::string_view name) const {
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
  const ElementChange::SetAttribute* const set = Data().FindSetAttribute(number, name);
  if (set != nullptr && set->value) return {*this, *set->value, Form::Set};
  const AttributeDeclaration* const declared = Data().FindDeclaration(GetName(), name);
  if (set == nullptr) {
    const bool isTokenized = declared != nullptr && declared->tokenized;
    if (const auto raw = FindInTag(name))
      return {*this, *raw, isTokenized ? Form::Tokenized : Form::Attribute};
  }
  if (declared == nullptr || !declared->value) return {};
  return {*this, *declared->value, Form::Declared};
}

template <class Use>
void Value::ForEachPart(const Use& use) const {
  if (!IsContent()) {
    use(text);
    return;
  }
  StretchScanner stretches(owner.Data(), owner.number);
  for (std::string_view part; stretches.Next(part) && use(part);) {
  }
}

TextReader Value::ReaderOf(std::string_view part) const noexcept {
  return {owner.Data(), part, IsContent() ? Source::Content : Source::AttributeValue};
}

std::string_view Value::GetValue(std::string& scratch, std::size_t limit) const {
  if (!IsInSource()) return text;
  if (form == Form::Content || form == Form::Attribute) {
    const std::string_view beginning = text.substr(0, limit);
    if (NeedsNoDecoding(beginning)) return beginning;
  } else {
    limit = std::string::npos; // folding shortens it; leads are inserted relative to its end
  }
  scratch.clear();
  ForEachPart([&](std::string_view part) {
    ReaderOf(part).AppendRest(scratch, limit);
    return scratch.size() < limit;
  });
  if (form == Form::Tokenized) scratch = FoldSpaces(scratch);
  if (form == Form::ContentWithLeads) InsertLeads(owner.Data(), owner.number, scratch);
  return scratch;
}

bool Value::IsAccepted(const TextFilter& filter) const {
  constexpr std::size_t longValue = 256; // shorter ones are judged as quickly as looked up
  assert(!IsNull());
  if (filter.AcceptsAll()) return true;
  auto& judged = owner.document->judgedValues;
  const std::pair key(text.data(), filter.id);
  if (const auto known = judged.find(key); known != judged.end()) return known->second;
  bool isAccepted = true;
  std::size_t size = 0;
  std::string piece;
  const auto judge = [&](std::string_view part) {
    TextReader reader = ReaderOf(part);
    while (isAccepted && reader.AppendNext(piece, std::string::npos)) {
      const std::size_t whole = ValidUtf8Prefix(piece); // a piece can end inside a character
      isAccepted = filter.Accepts(std::string_view(piece).substr(0, whole));
      piece.erase(0, whole);
      size += whole;
    }
    return isAccepted;
  };
  if (IsInSource()) {
    ForEachPart(judge);
  } else {
    isAccepted = filter.Accepts(text);
    size = text.size();
  }
  assert(!isAccepted || piece.empty());
  if (size >= longValue) judged[key] = isAccepted;
  return isAccepted;
}

std::vector<std::string_view> Element::AttributeNames() const {
  if (IsNull()) return {};
  std::vector<std::string_view> names;
  TagScanner scanner(ElementLayout(Data(), number).Attributes());
  for (RawAttribute raw{}; scanner.Next(raw);) {
    const ElementChange::SetAttribute* const set = Data().FindSetAttribute(number, raw.name);
    if (set == nullptr || set->staysInTag) names.push_back(raw.name);
  }
  for (const auto& [order, added] : Data().ChangeOf(number).NewAttributes())
    names.push_back(added->first);
  if (const AttributeDeclarations* const declared = Data().FindDeclarations(GetName())) {
    const std::set<std::string_view> known(names.begin(), names.end());
    for (const auto& [name, declaration] : *declared)
      if (declaration.value && !known.contains(name)) names.push_back(name);
  }
  return names;
}

} // namespace Ostrum
