#include <algorithm>

#include "host/ostrumxml/characters.h"
#include "host/ostrumxml/content.h"
#include "host/ostrumxml/element_layout.h"
#include "host/ostrumxml/node.h"
#include "host/ostrumxml/references.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

// Whether raw text means what it says.
bool IsPlain(std::string_view raw) {
  return std::none_of(raw.begin(), raw.end(),
                      [](char character) { return character == '<' || character == '&' || character == '\r'; });
}

void AppendPiece(const Piece& piece, std::string& text) {
  switch (piece.kind) {
    case PieceKind::Text:
      AppendCharacters(piece.text, text);
      break;
    case PieceKind::CData:
      AppendCharacters(InsideCData(piece.text), text);
      break;
    case PieceKind::Reference:
      AppendReference(piece.text, text);
      break;
    case PieceKind::Other:
      break;
  }
}

// The white space that new children brought along is text of their parent, too, as it will be when the file is read again.
void InsertLeads(const Content& content, const ElementLayout& layout, const ElementChange& change, std::string& text) {
  std::string leads;
  for (const Element* child : change.created) AppendCharacters(content.changes.at(child).lead, leads);
  if (leads.empty()) return;
  std::string trailing;
  AppendCharacters(layout.TrailingBlanks(), trailing);
  text.insert(text.size() - trailing.size(), leads);
}

} // namespace

constinit Element Element::null;

const std::wstring& Element::GetName() const {
  static const std::wstring none;
  return name == nullptr ? none : name->Wide();
}

std::wstring Element::GetValue() const {
  if (IsNull()) return {};
  const Content& content = name->Owner();
  const ElementLayout layout(content, *this);
  if (flags == 0 && childCount == 0 && IsPlain(layout.Inside())) return WideFromUtf8(layout.Inside());
  return WideFromUtf8(Text(content));
}

std::optional<std::string_view> Element::AsciiValue() const {
  if (IsNull()) return std::string_view("");
  if (flags != 0 || childCount != 0) return std::nullopt;
  const std::string_view inside = ElementLayout(name->Owner(), *this).Inside();
  if (!StandsForItself(inside)) return std::nullopt;
  return inside;
}

std::optional<std::string_view> Element::AsciiName() const noexcept {
  if (IsNull()) return std::string_view("");
  if (!name->IsAscii()) return std::nullopt;
  return name->Utf8();
}

std::string Element::Text(const Content& content) const {
  const ElementChange* change = content.FindChange(*this);
  if (change != nullptr && change->text) return *change->text;

  const ElementLayout layout(content, *this);
  std::string text;
  if (const ElementExpansion* expansion = content.FindExpansion(*this); expansion != nullptr && expansion->text) {
    text = *expansion->text;
  } else {
    layout.ForEachPiece(ParsedChildCount(change), [&text](const Piece& piece) { AppendPiece(piece, text); });
  }
  if (change != nullptr) InsertLeads(content, layout, *change, text);
  return text;
}

std::uint32_t Element::ParsedChildCount(const ElementChange* change) const noexcept {
  return change == nullptr ? childCount : childCount - static_cast<std::uint32_t>(change->created.size());
}

Element& Element::AddElementInto(const wchar_t* elementName) {
  std::string utf8;
  if (IsNull() || !IsXmlName(elementName) || !Utf8FromWide(elementName, utf8)) return null;

  // All that can fail comes first, so that a failure leaves the document as it was.
  Content& content = name->Owner();
  auto* child = new (content.arena.Allocate(sizeof(Element))) Element;
  child->name = &content.Intern(utf8);
  child->flags = element_flags::created;
  std::string lead = LeadOfNextChild(content);
  ElementChange& change = content.ChangeOf(*this);
  content.ChangeOf(*child).lead = std::move(lead);
  ReserveChild(content, change);
  change.created.push_back(child);
  Append(*child);
  return *child;
}

// A new child stands on a line of its own where its last sibling does.
std::string Element::LeadOfNextChild(const Content& content) const {
  const ElementChange* change = content.FindChange(*this);
  if (childCount == 0 || (change != nullptr && change->text)) return {};
  if (change != nullptr && !change->created.empty()) return content.changes.at(change->created.back()).lead;
  return std::string(ElementLayout(content, *children[childCount - 1]).Lead(*this));
}

void Element::ReserveChild(Content& content, ElementChange& change) {
  if (childCount < change.childCapacity) return;
  const std::uint32_t capacity = childCount + childCount / 2 + 4;
  auto** grown = static_cast<Element**>(content.arena.Allocate(capacity * sizeof(Element*)));
  std::copy_n(children, childCount, grown);
  children = grown;
  change.childCapacity = capacity;
}

void Element::Append(Element& child) noexcept {
  children[childCount] = &child;
  child.run = 1;
  if (childCount > 0 && children[childCount - 1]->name == child.name) {
    const bool lastIsFirst = childCount == 1 || children[childCount - 2]->name != child.name;
    const std::uint32_t distance = lastIsFirst ? 1 : children[childCount - 1]->run + 1;
    child.run = distance;
    children[childCount - distance]->run = distance + 1;
  }
  ++childCount;
}

} // namespace Ostrum
