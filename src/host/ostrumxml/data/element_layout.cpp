#include "host/ostrumxml/data/element_layout.h"

#include "host/ostrumxml/data/markup.h"

namespace Ostrum {

std::uint32_t ElementLayout::End() const noexcept {
  if (IsEmptyTag()) return record.contentEnd;
  return static_cast<std::uint32_t>(source.find('>', record.contentEnd)) + 1;
}

std::string_view ElementLayout::TrailingSpace() const noexcept {
  std::uint32_t start = record.contentEnd;
  while (start > record.contentStart && IsBlank(source[start - 1])) --start;
  return data.Between(start, record.contentEnd);
}

std::string_view ElementLayout::Lead(std::uint32_t parent) const noexcept {
  constexpr std::uint32_t maxIndentation = 256;
  const ElementRecord& outer = data.elements[parent];
  if (!IsInside(outer)) return {};
  std::uint32_t start = record.tagStart;
  while (start > outer.contentStart && (source[start - 1] == ' ' || source[start - 1] == '\t')) {
    if (record.tagStart - --start > maxIndentation) return {};
  }
  if (start == outer.contentStart || !IsBlank(source[start - 1])) return {};
  --start;
  if (source[start] == '\n' && start > outer.contentStart && source[start - 1] == '\r') --start;
  return data.Between(start, record.tagStart);
}

} // namespace Ostrum
