#include "host/ostrumxml/document.h"

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/generator.h"

namespace Ostrum {

Document::Document(std::unique_ptr<Content> content) noexcept : content(std::move(content)) {}

Document::~Document() = default;

Element& Document::GetRoot() noexcept { return *content->root; }

DocumentText Document::GenerateXML(bool) const { return Generator(*content).Generate(); }

} // namespace Ostrum
