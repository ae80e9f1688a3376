#include "host/ostrumxml/data/element_layout.h"

#include <algorithm>
#include <iterator>

#include "host/ostrumxml/data/markup.h"

namespace Ostrum {
namespace {

bool IsIndentation(char character) noexcept { return character == ' ' || character == '\t'; }

bool IsLineBreak(char character) noexcept {
  return IsWhiteSpace(character) && !IsIndentation(character);
}

} // namespace

std::uint32_t ElementLayout::End() const noexcept {
  if (IsEmptyTag()) return record.contentEnd;
  return static_cast<std::uint32_t>(source.find('>', record.contentEnd)) + 1;
}

const ElementLayout::GapMap& ElementLayout::GapsOf(const DocumentData& data, std::uint32_t parent) {
  static const GapMap none;
  const ElementChange* const change = data.FindChange(parent);
  return change == nullptr ? none : change->gaps;
}

std::uint32_t ElementLayout::BeforeGap(const GapMap& gaps, std::uint32_t offset) noexcept {
  const auto next = gaps.lower_bound(offset);
  if (next == gaps.begin() || std::prev(next)->second != offset) return offset;
  return std::prev(next)->first;
}

std::uint32_t ElementLayout::AfterGap(const GapMap& gaps, std::uint32_t offset) noexcept {
  const auto gap = gaps.find(offset);
  return gap == gaps.end() ? offset : gap->second;
}

ElementLayout::Space ElementLayout::TrailingSpace() const {
  const GapMap& gaps = GapsOf(data, element);
  Space space{record.contentEnd, {}};
  for (;;) {
    const std::uint32_t start = BeforeGap(gaps, space.start);
    if (start == record.contentStart || !IsWhiteSpace(source[start - 1])) break;
    space.start = start - 1;
    space.text += source[space.start];
  }
  std::ranges::reverse(space.text);
  return space;
}

std::string ElementLayout::Lead(std::uint32_t parent) const {
  constexpr std::size_t maxIndentation = 256;
  const ElementRecord& outer = data.elements[parent];
  if (!IsInside(outer)) return {};
  const GapMap& gaps = GapsOf(data, parent);
  std::string lead;
  std::uint32_t start = record.tagStart;
  for (bool isComplete = false; !isComplete;) {
    start = BeforeGap(gaps, start);
    if (start == outer.contentStart || !IsWhiteSpace(source[start - 1])) return {};
    lead += source[--start];
    isComplete = IsLineBreak(lead.back());
    if (!isComplete && lead.size() > maxIndentation) return {};
  }
  start = BeforeGap(gaps, start);
  if (lead.back() == '\n' && start > outer.contentStart && source[start - 1] == '\r') lead += '\r';
  std::ranges::reverse(lead);
  return lead;
}

// The tags of the parent end both walks. Where its text was set, the white space around the element
// is gone already.
SourceRange ElementLayout::Removal(std::uint32_t parent) const noexcept {
  const SourceRange itself{record.tagStart, End()};
  const ElementChange* const change = data.FindChange(parent);
  if (change != nullptr && change->text) return itself;
  const GapMap& gaps = GapsOf(data, parent);
  auto [start, end] = itself;
  for (start = BeforeGap(gaps, start); IsIndentation(source[start - 1]);)
    start = BeforeGap(gaps, start - 1);
  for (end = AfterGap(gaps, end); IsIndentation(source[end]);) end = AfterGap(gaps, end + 1);
  if (source[end] == '\r' && source[end + 1] == '\n') ++end;
  if (source[start - 1] != '\n' || source[end] != '\n') return itself;
  return {start, end + 1};
}

} // namespace Ostrum
