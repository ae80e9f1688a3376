#include "host/ostrumxml/read/index_builder.h"

#include <cassert>

namespace Ostrum {

void IndexBuilder::StartElement(std::string_view name, TagPlace tag) {
  assert(tag.start + name.size() < tag.end && tag.end <= content.source.size());
  Element& element = content.elements.Add();
  element.tagStart = tag.start;
  element.contentStart = tag.end;
  element.name = content.names.Intern(name);
  Link(element);
}

void IndexBuilder::Link(Element& element) {
  if (open.empty()) {
    assert(!HasRoot());
    content.root = &element;
  } else {
    auto& [parent, lastChild] = open.back();
    if (lastChild == nullptr) {
      parent->flags |= element_flags::hasParsedChildren;
    } else {
      lastChild->nextSibling = ElementTable::NumberOf(element);
    }
    lastChild = &element;
  }
  open.push_back({&element, nullptr});
}

void IndexBuilder::EndElement(std::uint32_t contentEnd) noexcept {
  assert(IsInside() && contentEnd >= InnermostTag().end);
  open.back().element->contentEnd = contentEnd;
  open.pop_back();
}

TagPlace IndexBuilder::InnermostTag() const noexcept {
  assert(IsInside());
  return {open.back().element->tagStart, open.back().element->contentStart};
}

} // namespace Ostrum
