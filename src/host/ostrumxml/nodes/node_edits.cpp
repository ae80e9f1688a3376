// Changing elements and attributes.
#include <cassert>
#include <stdexcept>

#include "host/ostrumxml/data/content_walker.h"
#include "host/ostrumxml/data/element_layout.h"
#include "host/ostrumxml/data/xml_text.h"
#include "host/ostrumxml/nodes/indexed_document.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {
namespace {

void RequireXmlText(std::string_view text) {
  if (!IsXmlText(text)) throw std::invalid_argument("XML can't carry this text");
}

} // namespace

bool Element::IsCreated() const noexcept {
  return !IsNull() && (Data().elements[number].flags & element_flags::created) != 0;
}

bool Element::CanBeChanged() const noexcept {
  return !IsNull() && Data().IsInFile(Data().elements[number].tagStart);
}

void Element::RequireChangeable() const {
  if (!CanBeChanged()) throw std::invalid_argument("the element comes from an entity");
}

bool Element::TextCanBeReplaced() const {
  if (!CanBeChanged()) return false;
  StretchScanner stretches(Data(), number);
  for (std::string_view stretch; stretches.Next(stretch);)
    if (HasTagOrUnknownEntity(Data(), stretch)) return false;
  return true;
}

// Setting the present value changes nothing, so that it keeps the form in which it was written.
void Element::SetText(std::string_view text) {
  RequireXmlText(text);
  if (!TextCanBeReplaced())
    throw std::invalid_argument(
        "the text refers to an entity that contains elements or is not known");
  if (std::string scratch; Text().GetValue(scratch) == text) return;
  DocumentData& data = Data();
  document->judgedValues.clear();
  ElementChange& change = data.AddChange(number);
  change.text = text;
  // The white space before the new children was text of this element.
  for (const std::uint32_t child : change.created) data.AddChange(child).lead.clear();
}

void Element::SetAttribute(std::string_view name, std::string_view value) {
  RequireXmlText(value);
  RequireChangeable();
  DocumentData& data = Data();
  if (!data.CanHold(GetName(), name, value))
    throw std::invalid_argument("the attribute's type can't carry these blanks");
  const Value present = GetAttribute(name);
  if (!IsXmlName(name)) throw std::invalid_argument("not an XML name");
  std::string scratch;
  // A reference to an unknown entity reads as nothing, but is not nothing to other programs.
  if (present.IsInSource() && !HasTagOrUnknownEntity(data, present.text) &&
      present.GetValue(scratch) == value)
    return;

  std::string text(value);
  const auto [entry, isNew] = data.AddChange(number).attributes.try_emplace(std::string(name));
  ElementChange::SetAttribute& set = entry->second;
  if (isNew) set.staysInTag = present.IsInSource();
  if (!set.value) set.order = data.attributesSet;
  set.value = std::move(text);
  document->judgedValues.clear();
  ++data.attributesSet;
}

void Element::RemoveAttribute(std::string_view name) {
  RequireChangeable();
  DocumentData& data = Data();
  const ElementChange::SetAttributes& changed = data.ChangeOf(number).attributes;
  const auto change = changed.find(name);
  if (change != changed.end() && !change->second.value) return; // removed before
  const Value present = GetAttribute(name);
  if (present.IsNull()) throw std::invalid_argument("no such attribute");
  if (present.form == Value::Form::Declared)
    throw std::invalid_argument("only the document type declares the attribute");
  data.AddChange(number).attributes[std::string(name)] = {};
  ++data.attributesSet;
}

Element Element::AddElementInto(std::string_view name) {
  if (!CanBeChanged() || !IsXmlName(name)) return {};

  // Everything that can fail comes first, so that a failure leaves the document unchanged.
  DocumentData& data = Data();
  const std::uint32_t nameNumber = data.names.InternCopy(name);
  const std::uint32_t last = LastChild();
  std::string lead = LeadOfNextChild(last);
  const std::uint32_t child = data.elements.Add();
  data.elements[child] = {nameNumber, 0, 0, 0, 0, element_flags::created};
  data.AddChange(child).lead = std::move(lead);
  ElementChange& change = data.AddChange(number);
  change.created.push_back(child);
  if (IsIndexed()) {
    try {
      Index().Append(child);
    } catch (...) {
      DropIndex(); // the next search builds it again
    }
  }

  if (last != 0) data.elements[last].nextSibling = child;
  return Other(child);
}

void Element::RemoveChild(Element child) {
  assert(document == child.document && number != child.number);
  child.RequireChangeable(); // this element is then in the file, too
  DocumentData& data = Data();
  if (data.IsRemoved(child.number)) return;
  ElementChange& change = data.AddChange(number);
  if (child.IsCreated()) {
    std::erase(change.created, child.number);
  } else {
    change.gaps.Add(ElementLayout(data, number).RemovalOf(child.number));
  }
  data.elements[child.number].flags |= element_flags::removed;
  // So that FirstChild passes removed children by in one step: the first one that was parsed has
  // the next number, if there is one.
  data.elements[number + 1].nextSibling = data.NextSibling(number + 1);
  DropIndex();
}

std::uint32_t Element::LastChild() const noexcept {
  const DocumentData& data = Data();
  const std::vector<std::uint32_t>& created = data.ChangeOf(number).created;
  if (!created.empty()) return created.back();
  std::uint32_t last = 0;
  for (auto child = data.FirstChild(number); child != 0; child = data.NextSibling(child))
    last = child;
  return last;
}

// A new child begins a line of its own if its last sibling does.
std::string Element::LeadOfNextChild(std::uint32_t last) const {
  const DocumentData& data = Data();
  if (last == 0 || data.ChangeOf(number).text) return {};
  if (const std::string& lead = data.ChangeOf(last).lead; !lead.empty()) return lead;
  std::uint32_t place = data.elements[last].tagStart;
  if (Other(last).IsCreated()) place = data.elements[number].contentEnd; // the first new one
  return ElementLayout(data, number).LeadAt(place);
}

} // namespace Ostrum
