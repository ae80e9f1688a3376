#include "host/ostrumxml/read/index_builder.h"

#include <cassert>

namespace Ostrum {

void IndexBuilder::StartElement(std::string_view name, TagPlace tag) {
  assert(tag.start + name.size() < tag.end && tag.end <= data.source.size());
  const std::uint32_t element = data.elements.Add();
  ElementRecord& record = data.elements[element];
  record.tagStart = tag.start;
  record.contentStart = tag.end;
  record.name = data.names.Intern(name);
  Link(element);
}

void IndexBuilder::Link(std::uint32_t element) {
  if (open.empty()) {
    assert(!HasRoot());
    data.root = element;
  } else {
    auto& [parent, lastChild] = open.back();
    if (lastChild == 0) {
      data.elements[parent].flags |= element_flags::hasParsedChildren;
    } else {
      data.elements[lastChild].nextSibling = element;
    }
    lastChild = element;
  }
  open.push_back({element, 0});
}

void IndexBuilder::EndElement(std::uint32_t contentEnd) noexcept {
  assert(IsInside() && contentEnd >= InnermostTag().end);
  data.elements[open.back().element].contentEnd = contentEnd;
  open.pop_back();
}

TagPlace IndexBuilder::InnermostTag() const noexcept {
  assert(IsInside());
  const ElementRecord& record = data.elements[open.back().element];
  return {record.tagStart, record.contentStart};
}

} // namespace Ostrum
