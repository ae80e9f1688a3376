#include "host/ostrumxml/data/element_layout.h"

#include <algorithm>
#include <cassert>

#include "host/ostrumxml/data/markup.h"

namespace Ostrum {
namespace {

bool IsIndentation(char character) noexcept { return character == ' ' || character == '\t'; }

} // namespace

std::uint32_t ElementLayout::End() const noexcept {
  if (IsEmptyTag()) return record.contentEnd;
  return static_cast<std::uint32_t>(data.source.find('>', record.contentEnd)) + 1;
}

ElementLayout::Space ElementLayout::SpaceBefore(std::uint32_t offset, std::size_t limit) const {
  const Gaps& gaps = data.ChangeOf(element).gaps;
  Space space{offset, {}};
  for (;;) {
    const std::uint32_t end = gaps.Before(space.start);
    if (end == record.contentStart || space.text.size() == limit) break;
    if (!IsWhiteSpace(data.source[end - 1])) break;
    space.start = end - 1;
    space.text += data.source[space.start];
  }
  std::ranges::reverse(space.text);
  return space;
}

ElementLayout::Space ElementLayout::SpaceAfterNewChildren() const {
  const std::uint32_t first = data.ChangeOf(element).created.front();
  if (data.ChangeOf(first).lead.empty()) return {record.contentEnd, {}};
  return SpaceBefore(record.contentEnd);
}

std::string ElementLayout::LeadAt(std::uint32_t offset) const {
  constexpr std::size_t maxIndentation = 256;
  if (offset > record.contentEnd) return {};
  const std::string space = SpaceBefore(offset, maxIndentation + 2).text;
  std::size_t lineBreak = space.find_last_of("\r\n");
  if (lineBreak == std::string::npos || space.size() - lineBreak > maxIndentation + 1) return {};
  if (lineBreak > 0 && space.compare(lineBreak - 1, 2, "\r\n") == 0) --lineBreak;
  return space.substr(lineBreak);
}

// The tags of this element end both walks. Where its text was set, the white space around the child
// is replaced anyway.
SourceRange ElementLayout::RemovalOf(std::uint32_t child) const noexcept {
  const ElementLayout layout(data, child);
  assert(layout.IsInside(record));
  const Gaps& gaps = data.ChangeOf(element).gaps;
  SourceRange itself{gaps.Before(layout.record.tagStart), gaps.After(layout.End())};
  auto [start, end] = itself;
  // In step: where much was removed from its line, only one side of it is long.
  while (IsWhiteSpace(data.source[start - 1]) && IsWhiteSpace(data.source[end]) &&
         (IsIndentation(data.source[start - 1]) || IsIndentation(data.source[end]))) {
    if (IsIndentation(data.source[start - 1])) start = gaps.Before(start - 1);
    if (IsIndentation(data.source[end])) end = gaps.After(end + 1);
  }
  if (data.source[end] == '\r') ++end;
  if (data.source[start - 1] == '\n' && data.source[end] == '\n') return {start, end + 1};
  // Otherwise the line breaks before and after it would become one, "\r\n".
  while (data.source[itself.start - 1] == '\r' && data.source[itself.end] == '\n')
    itself.start = gaps.Before(itself.start - 1);
  return itself;
}

StretchScanner::StretchScanner(const DocumentData& data, std::uint32_t element)
    : data(data),
      content(data.elements[element]),
      gaps(data.ChangeOf(element).gaps),
      gap(gaps.begin()),
      child(data.FirstChild(element)),
      from(content.contentStart) {}

bool StretchScanner::Next(std::string_view& stretch) {
  if (isAtEnd) return false;
  while (child != 0 && !ElementLayout(data, child).IsInside(content))
    child = data.NextSibling(child);
  SourceRange excluded{content.contentEnd, content.contentEnd};
  if (child != 0) excluded = {data.elements[child].tagStart, ElementLayout(data, child).End()};
  if (gap != gaps.end() && gap->first < excluded.start) {
    excluded = {gap->first, gap->second};
    ++gap;
  } else if (child != 0) {
    child = data.NextSibling(child);
  } else {
    isAtEnd = true;
  }
  assert(from <= excluded.start && excluded.end <= content.contentEnd);
  stretch = data.Between(from, excluded.start);
  from = excluded.end;
  return true;
}

} // namespace Ostrum
