#include <stdexcept>

#include "host/ostrumxml/characters.h"
#include "host/ostrumxml/content.h"
#include "host/ostrumxml/node.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {

Element::operator Value() { return {IsNull() ? nullptr : this, nullptr, {}}; }

Attribute::operator Value() const {
  if (owner == nullptr) return {nullptr, nullptr, {}};
  return {owner, &owner->name->Owner().Intern(name), raw};
}

void Value::Set(const wchar_t* text) {
  std::string utf8;
  if (owner == nullptr) throw std::invalid_argument("a null node has no value to set");
  if (!IsXmlText(text) || !Utf8FromWide(text, utf8)) throw std::invalid_argument("XML can't carry this text");
  if (attribute != nullptr) {
    owner->SetAttributeText(*attribute, raw, std::move(utf8));
  } else {
    owner->SetText(std::move(utf8));
  }
}

// Setting what is there already changes nothing, so that it keeps the form in which it was written.
void Element::SetText(std::string&& text) {
  Content& content = name->Owner();
  if (Text(content) == text) return;
  ElementChange& change = content.ChangeOf(*this);
  change.text = std::move(text);
  // The white space in front of the new children was text of this element.
  for (Element* child : change.created) content.ChangeOf(*child).lead.clear();
}

void Element::SetAttributeText(const Name& attribute, std::string_view raw, std::string&& value) {
  Content& content = name->Owner();
  if (raw.data() != nullptr && AttributeText(attribute.Utf8(), raw) == value) return;
  if (!CanHold(attribute.Utf8(), value)) throw std::invalid_argument("the attribute's type can't carry these blanks");
  ElementChange& change = content.ChangeOf(*this);
  if (auto* set = const_cast<ElementChange::SetAttribute*>(change.FindAttribute(attribute.Utf8()))) {
    set->value = std::move(value);
    return;
  }
  change.attributes.push_back({&attribute, std::move(value)});
}

} // namespace Ostrum
