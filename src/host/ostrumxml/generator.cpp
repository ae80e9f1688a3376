#include "host/ostrumxml/generator.h"

#include <algorithm>
#include <climits>
#include <set>
#include <stdexcept>
#include <utility>

#include "host/ostrumxml/references.h"

namespace Ostrum {
namespace {

using SetAttributes = std::vector<const std::pair<const std::string, ElementChange::SetAttribute>*>;

// As they stand in a tag, in the order in which they were made.
std::string AttributeMarkup(SetAttributes attributes) {
  std::sort(attributes.begin(), attributes.end(),
            [](const auto* left, const auto* right) { return left->second.order < right->second.order; });
  std::string markup;
  for (const auto* attribute : attributes) {
    markup.append(" ").append(attribute->first).append("=\"");
    markup.append(EscapeAttribute(attribute->second.value, '"')).append("\"");
  }
  return markup;
}

} // namespace

std::string Generator::Generate() {
  std::size_t size = content.fileSize;
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
  text.append(content.source, copied, content.fileSize - copied);
  return text;
}

void Generator::AddEdit(std::string_view part, std::string replacement) {
  edits.push_back({content.OffsetOf(part), static_cast<std::uint32_t>(part.size()), std::move(replacement)});
}

void Generator::Collect(const Element& element, const ElementChange& change) {
  const ElementLayout layout(content, element);
  CollectAttributes(layout, change);
  if (layout.IsEmptyTag()) {
    CollectOpening(element, layout, change);
    return;
  }
  if (change.text) CollectText(layout, change);
  if (change.created.empty()) return;
  const bool onLines = !content.changes.at(change.created.front()).lead.empty();
  const std::string_view end = layout.Inside().substr(layout.Inside().size());
  AddEdit(onLines ? layout.TrailingBlanks().substr(0, 0) : end, CreatedChildren(change));
}

void Generator::CollectAttributes(const ElementLayout& layout, const ElementChange& change) {
  if (change.attributes.empty()) return;
  TagScanner scanner(layout.Attributes());
  RawAttribute raw{};
  std::set<std::string_view> written;
  while (scanner.Next(raw)) {
    const auto set = change.attributes.find(raw.name);
    if (set == change.attributes.end()) continue;
    AddEdit(raw.value, EscapeAttribute(set->second.value, raw.value.data()[-1]));
    written.insert(raw.name);
  }
  SetAttributes added;
  for (const auto& attribute : change.attributes) {
    if (!written.contains(attribute.first)) added.push_back(&attribute);
  }
  if (!added.empty()) AddEdit(scanner.Rest().substr(0, 0), AttributeMarkup(std::move(added)));
}

bool Generator::IsText(const Piece& piece) const {
  if (piece.kind != PieceKind::Reference) return piece.kind == PieceKind::Text || piece.kind == PieceKind::CData;
  std::string character;
  return AppendReference(piece.text, character) || content.EntityText(ReferenceName(piece.text)).has_value();
}

void Generator::CollectText(const ElementLayout& layout, const ElementChange& change) {
  std::vector<std::string_view> old;
  layout.ForEachStretch([&](std::string_view stretch) {
    PieceScanner pieces(stretch);
    Piece piece{};
    while (pieces.Next(piece)) {
      if (IsText(piece)) old.push_back(piece.text);
    }
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
  AddEdit(scanner.Rest(), ">" + inside + "</" + std::string(element.GetName()) + ">");
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
    IteratorRef next; // child to be written
  };
  std::vector<Level> levels;
  const auto enter = [&](const Element& element) {
    const ElementChange& change = content.changes.at(&element);
    AppendStartTag(element, change, text);
    const std::string inside = EscapeText(change.text.value_or(std::string()));
    if (change.created.empty() && inside.empty()) {
      text += "/>";
      return;
    }
    text.append(">").append(inside);
    levels.push_back({&element, element.Begin()});
  };

  enter(created);
  while (!levels.empty()) {
    Level& level = levels.back();
    const Element& element = *level.element;
    if (!(level.next == element.End())) {
      const Element& child = *level.next;
      ++level.next;
      enter(child);
      continue;
    }
    text.append("</").append(element.GetName()).append(">");
    levels.pop_back();
  }
}

void Generator::AppendStartTag(const Element& created, const ElementChange& change, std::string& text) const {
  SetAttributes attributes;
  for (const auto& attribute : change.attributes) attributes.push_back(&attribute);
  text.append("<").append(created.GetName()).append(AttributeMarkup(std::move(attributes)));
}

} // namespace Ostrum
