#include <algorithm>

#include "host/ostrumxml/characters.h"
#include "host/ostrumxml/content.h"
#include "host/ostrumxml/element_layout.h"
#include "host/ostrumxml/node.h"
#include "host/ostrumxml/references.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

const AttributeDeclaration* FindDeclaration(const Content& content, const Element& element, std::string_view name) {
  const AttributeDeclarations* declarations = content.FindDeclarations(element);
  if (declarations == nullptr) return nullptr;
  const auto entry = declarations->find(name);
  return entry == declarations->end() ? nullptr : &entry->second;
}

const RawAttribute* FindRawAttribute(const ElementLayout& layout, std::string_view name, RawAttribute& attribute) {
  TagScanner scanner(layout.Attributes());
  while (scanner.Next(attribute)) {
    if (attribute.name == name) return &attribute;
  }
  return nullptr;
}

} // namespace

const ElementChange::SetAttribute* ElementChange::FindAttribute(std::string_view name) const noexcept {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [name](const SetAttribute& attribute) { return attribute.name->Utf8() == name; });
  return found == attributes.end() ? nullptr : &*found;
}

const std::wstring& Attribute::GetName() const {
  return owner == nullptr ? Element::null.GetName() : owner->name->Owner().Intern(name).Wide();
}

std::wstring Attribute::GetValue() const {
  if (owner == nullptr) return {};
  return WideFromUtf8(owner->AttributeText(name, raw));
}

std::optional<std::string_view> Attribute::AsciiValue() const {
  if (owner == nullptr) return std::string_view("");
  const bool isAsParsed = owner->flags == 0 && raw.data() != nullptr;
  if (!isAsParsed || owner->name->Owner().FindDeclarations(*owner) != nullptr || !StandsForItself(raw))
    return std::nullopt;
  return raw;
}

Attribute Element::GetAttribute(const wchar_t* attributeName) const {
  std::string utf8;
  if (IsNull() || !Utf8FromWide(attributeName, utf8)) return {};
  Content& content = name->Owner();
  // Looking up changes nothing; what comes back can be set through, as the element itself can.
  auto* self = const_cast<Element*>(this);

  RawAttribute found{};
  if (FindRawAttribute(ElementLayout(content, *this), utf8, found) != nullptr) return {self, found.name, found.value};
  if (const ElementChange* change = content.FindChange(*this)) {
    if (const auto* set = change->FindAttribute(utf8)) return {self, set->name->Utf8(), {}};
  }
  const AttributeDeclaration* declaration = FindDeclaration(content, *this, utf8);
  if (declaration == nullptr || !declaration->value) return {};
  return {self, content.Intern(utf8).Utf8(), {}};
}

Attribute Element::CreateAttribute(const wchar_t* attributeName) {
  std::string utf8;
  if (IsNull() || !IsXmlName(attributeName) || !Utf8FromWide(attributeName, utf8)) return {};
  if (!GetAttribute(attributeName).IsNull()) return {};
  Content& content = name->Owner();
  const Name& created = content.Intern(utf8);
  content.ChangeOf(*this).attributes.push_back({&created, {}});
  return {this, created.Utf8(), {}};
}

std::string Element::AttributeText(std::string_view attributeName, std::string_view raw) const {
  const Content& content = name->Owner();
  if (const ElementChange* change = content.FindChange(*this)) {
    if (const auto* set = change->FindAttribute(attributeName)) return set->value;
  }
  if (const ElementExpansion* expansion = content.FindExpansion(*this)) {
    const auto entry = expansion->attributes.find(attributeName);
    if (entry != expansion->attributes.end()) return entry->second;
  }
  const AttributeDeclaration* declaration = FindDeclaration(content, *this, attributeName);
  if (raw.data() == nullptr) return declaration->value.value();
  return DecodeAttribute(raw, declaration != nullptr && declaration->tokenized);
}

bool Element::CanHold(std::string_view attributeName, std::string_view value) const {
  const AttributeDeclaration* declaration = FindDeclaration(name->Owner(), *this, attributeName);
  return declaration == nullptr || !declaration->tokenized || FoldBlanks(value) == value;
}

} // namespace Ostrum
