#include "host/ostrumxml/generator.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

#include "host/ostrumxml/references.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

std::string AttributeMarkup(const ElementChange::SetAttribute& attribute) {
  std::string markup(" ");
  return markup.append(attribute.name->Utf8()).append("=\"").append(EscapeAttribute(attribute.value, '"')).append("\"");
}

} // namespace

DocumentText Generator::Generate() {
  std::size_t size = content.source.size();
  for (const auto& [element, change] : content.changes) {
    if ((element->flags & element_flags::created) == 0) Collect(*element, change);
  }
  // Edits at one place belong to one element and stand in the order in which they were made.
  std::stable_sort(edits.begin(), edits.end(),
                   [](const Edit& left, const Edit& right) { return left.from < right.from; });
  for (const Edit& edit : edits) size = size + edit.replacement.size() - edit.length;
  if (size > INT_MAX) throw std::length_error("the document grew beyond what can be parsed");

  std::string text;
  text.reserve(size);
  std::size_t copied = 0;
  for (const Edit& edit : edits) {
    text.append(content.source, copied, edit.from - copied).append(edit.replacement);
    copied = edit.from + edit.length;
  }
  text.append(content.source, copied);
  const std::size_t wideLength = WideLengthOf(text).value();
  return {std::move(text), wideLength};
}

void Generator::AddEdit(std::string_view part, std::string replacement) {
  const auto from = static_cast<std::uint32_t>(part.data() - content.source.data());
  edits.push_back({from, static_cast<std::uint32_t>(part.size()), std::move(replacement)});
}

void Generator::Collect(const Element& element, const ElementChange& change) {
  const ElementLayout layout(content, element);
  CollectAttributes(layout, change);
  if (layout.IsEmptyTag()) {
    CollectOpening(element, layout, change);
    return;
  }
  if (change.text) CollectText(element, layout, change);
  if (change.created.empty()) return;
  const bool onLines = !content.changes.at(change.created.front()).lead.empty();
  const std::string_view end = layout.Inside().substr(layout.Inside().size());
  AddEdit(onLines ? layout.TrailingBlanks().substr(0, 0) : end, CreatedChildren(change));
}

void Generator::CollectAttributes(const ElementLayout& layout, const ElementChange& change) {
  if (change.attributes.empty()) return;
  std::vector<const ElementChange::SetAttribute*> added;
  for (const auto& attribute : change.attributes) added.push_back(&attribute);

  TagScanner scanner(layout.Attributes());
  RawAttribute raw{};
  while (scanner.Next(raw)) {
    const auto* set = change.FindAttribute(raw.name);
    if (set == nullptr) continue;
    AddEdit(raw.value, EscapeAttribute(set->value, raw.value.data()[-1]));
    added.erase(std::find(added.begin(), added.end(), set));
  }
  std::string markup;
  for (const auto* attribute : added) markup += AttributeMarkup(*attribute);
  if (!markup.empty()) AddEdit(scanner.Rest().substr(0, 0), std::move(markup));
}

bool Generator::IsText(const Piece& piece) const {
  if (piece.kind != PieceKind::Reference) return piece.kind != PieceKind::Other;
  std::string character;
  const std::string_view name = piece.text.substr(1, piece.text.size() - 2);
  return AppendReference(piece.text, character) || content.entities.contains(name);
}

void Generator::CollectText(const Element& element, const ElementLayout& layout, const ElementChange& change) {
  std::vector<std::string_view> old;
  layout.ForEachPiece(element.ParsedChildCount(&change), [&](const Piece& piece) {
    if (IsText(piece)) old.push_back(piece.text);
  });
  if (old.empty()) old.push_back(layout.Inside().substr(0, 0));
  AddEdit(old.front(), EscapeText(*change.text));
  for (auto part = old.begin() + 1; part != old.end(); ++part) AddEdit(*part, {});
}

// An element that stood as one tag gets a start tag and an end tag when it gets content.
void Generator::CollectOpening(const Element& element, const ElementLayout& layout, const ElementChange& change) {
  std::string inside = EscapeText(change.text.value_or(std::string())) + CreatedChildren(change);
  if (inside.empty()) return;
  TagScanner scanner(layout.Attributes());
  RawAttribute raw{};
  while (scanner.Next(raw)) {
  }
  AddEdit(scanner.Rest(), ">" + inside + "</" + std::string(element.name->Utf8()) + ">");
}

std::string Generator::CreatedChildren(const ElementChange& change) const {
  std::string text;
  for (const Element* child : change.created) {
    text += content.changes.at(child).lead;
    AppendCreated(*child, text);
  }
  return text;
}

void Generator::AppendCreated(const Element& created, std::string& text) const {
  struct Level {
    const Element* element;
    std::uint32_t next; // child to be written
  };
  std::vector<Level> levels;
  const auto enter = [&](const Element& element) {
    const ElementChange& change = content.changes.at(&element);
    AppendStartTag(element, change, text);
    if (element.childCount == 0 && change.text.value_or(std::string()).empty()) {
      text += "/>";
      return;
    }
    text += ">" + EscapeText(change.text.value_or(std::string()));
    levels.push_back({&element, 0});
  };

  enter(created);
  while (!levels.empty()) {
    Level& level = levels.back();
    const Element& element = *level.element;
    if (level.next < element.childCount) {
      enter(*element.children[level.next++]);
      continue;
    }
    text.append("</").append(element.name->Utf8()).append(">");
    levels.pop_back();
  }
}

void Generator::AppendStartTag(const Element& created, const ElementChange& change, std::string& text) const {
  text.append("<").append(created.name->Utf8());
  for (const auto& attribute : change.attributes) text += AttributeMarkup(attribute);
}

} // namespace Ostrum
