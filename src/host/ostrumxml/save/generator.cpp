// From the changes of a document to its new text. Every change becomes an edit of the source, and
// what no edit touches is copied, so an untouched byte cannot come out different.
#include "host/ostrumxml/save/generator.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <stdexcept>
#include <utility>

#include "host/ostrumxml/data/content_walker.h"
#include "host/ostrumxml/data/element_layout.h"
#include "host/ostrumxml/data/references.h"

namespace Ostrum {
namespace {

// A short text, or one in many pieces, is joined, since each piece costs a call of the system.
constexpr std::size_t maxJoined = 16'384; // bytes
constexpr std::size_t maxPieces = 64;

std::string NewAttributeMarkup(const ElementChange& change) {
  std::string markup;
  for (const auto& [order, added] : change.NewAttributes())
    markup += " " + added->first + "=\"" + EscapeAttribute(*added->second.value, '"') + '"';
  return markup;
}

} // namespace

class Generator {
 public:
  explicit Generator(const DocumentData& data) noexcept : data(data) {}

  std::vector<Edit> Edits() {
    for (const auto& [element, change] : data.changes) {
      if ((data.elements[element].flags & element_flags::created) == 0) Collect(element, change);
    }
    // What is inserted before a part comes before what replaces it.
    std::ranges::stable_sort(
        edits, {}, [](const Edit& edit) { return std::pair(edit.from, edit.length > 0); });
    // Drops the changes in elements that were removed later.
    std::uint32_t end = 0; // of the last edit that is kept
    std::erase_if(edits, [&end](const Edit& edit) {
      const bool isInside = edit.from < end;
      assert(!isInside || edit.from + edit.length <= end); // a gap holds whole elements
      if (!isInside) end = edit.from + edit.length;
      return isInside;
    });
    return std::move(edits);
  }

 private:
  void AddEdit(std::string_view part, std::string replacement) {
    if (part == replacement) return; // sorting them would cost a quarter more
    edits.push_back(
        {data.OffsetOf(part), static_cast<std::uint32_t>(part.size()), std::move(replacement)});
  }

  void Collect(std::uint32_t element, const ElementChange& change) {
    const ElementLayout layout(data, element);
    const std::string_view tagEnd = CollectAttributes(layout, change);
    for (const auto& [start, end] : change.gaps) AddEdit(data.Between(start, end), {});
    if (layout.IsEmptyTag()) {
      // When it gets content, "<name/>" becomes a start tag and an end tag.
      const std::string inside = EscapeText(change.text.value_or("")) + CreatedChildren(change);
      if (!inside.empty())
        AddEdit(tagEnd, ">" + inside + "</" + std::string(data.NameOf(element)) + ">");
      return;
    }
    if (change.text) CollectText(element, change);
    if (change.created.empty()) return;
    const std::uint32_t place = layout.SpaceAfterNewChildren().start;
    AddEdit(data.Between(place, place), CreatedChildren(change));
  }

  // Returns the rest of the tag after the last attribute.
  std::string_view CollectAttributes(const ElementLayout& layout, const ElementChange& change) {
    TagScanner scanner(layout.Attributes());
    RawAttribute raw{};
    for (std::string_view before = scanner.Rest(); scanner.Next(raw); before = scanner.Rest()) {
      const ElementChange::SetAttribute* const set = FindIn(change.attributes, raw.name);
      if (set == nullptr) continue;
      if (set->staysInTag) {
        AddEdit(raw.value, EscapeAttribute(*set->value, raw.value.data()[-1]));
      } else {
        AddEdit(before.substr(0, before.size() - scanner.Rest().size()), {});
      }
    }
    AddEdit(scanner.Rest().substr(0, 0), NewAttributeMarkup(change));
    return scanner.Rest();
  }

  // Whether setting the element's text replaces the piece. A reference to an entity without text is
  // kept.
  bool IsText(const Piece& piece) const {
    if (piece.kind != PieceKind::Reference)
      return piece.kind == PieceKind::Text || piece.kind == PieceKind::CData;
    std::string beginning;
    TextReader(data, piece.text, TextReader::Source::Content).AppendRest(beginning, 1);
    return !beginning.empty();
  }

  void CollectText(std::uint32_t element, const ElementChange& change) {
    std::string text = EscapeText(*change.text);
    // The first piece of the old text becomes the new one, the others go.
    StretchScanner stretches(data, element);
    for (std::string_view stretch; stretches.Next(stretch);) {
      PieceScanner pieces(stretch);
      for (Piece piece{}; pieces.Next(piece);) {
        if (IsText(piece)) AddEdit(piece.text, std::exchange(text, {}));
      }
    }
    // If there was none:
    AddEdit(ElementLayout(data, element).Inside().substr(0, 0), std::move(text));
  }

  // The markup of the new elements in an element, to any depth.
  std::string CreatedChildren(const ElementChange& parent) const {
    std::vector<std::pair<std::uint32_t, bool>>
        next; // the last is written first; true: its end tag
    const auto add = [&next](const std::vector<std::uint32_t>& created) {
      for (auto child = created.rbegin(); child != created.rend(); ++child)
        next.emplace_back(*child, false);
    };
    std::string text;
    add(parent.created);
    while (!next.empty()) {
      const auto [element, isEnd] = next.back();
      next.pop_back();
      const std::string_view name = data.NameOf(element);
      if (isEnd) {
        text.append("</").append(name).append(">");
        continue;
      }
      const ElementChange& change = data.changes.at(element);
      const std::string inside = EscapeText(change.text.value_or(""));
      const bool isEmpty = change.created.empty() && inside.empty();
      text.append(change.lead).append("<").append(name).append(NewAttributeMarkup(change));
      text.append(isEmpty ? "/>" : ">").append(inside);
      if (!isEmpty) next.emplace_back(element, true);
      add(change.created);
    }
    return text;
  }

  const DocumentData& data;
  std::vector<Edit> edits;
};

std::vector<Edit> EditsOf(const DocumentData& data) { return Generator(data).Edits(); }

GeneratedText::GeneratedText(const DocumentData& data) : edits(EditsOf(data)), size(data.fileSize) {
  std::uint32_t copied = 0;
  for (const Edit& edit : edits) {
    assert(edit.from >= copied && edit.from + edit.length <= data.fileSize);
    size = size + edit.replacement.size() - edit.length;
    pieces.push_back(data.Between(copied, edit.from));
    pieces.push_back(edit.replacement);
    copied = edit.from + edit.length;
  }
  pieces.push_back(data.Between(copied, static_cast<std::uint32_t>(data.fileSize)));
  if (size > INT_MAX) throw std::length_error("the document grew beyond what can be parsed");
  if (size > maxJoined && pieces.size() <= maxPieces) return;
  joined = Joined();
  pieces = {joined};
}

std::string GeneratedText::Joined() const {
  std::string text;
  text.reserve(size);
  for (const std::string_view piece : pieces) text += piece;
  assert(text.size() == size);
  return text;
}

bool GeneratedText::operator==(const GeneratedText& other) const {
  if (size != other.size) return false; // nearly always
  const std::string whole = Joined();
  std::size_t at = 0;
  for (const std::string_view piece : other.pieces) {
    if (whole.compare(at, piece.size(), piece) != 0) return false;
    at += piece.size();
  }
  return true;
}

} // namespace Ostrum
