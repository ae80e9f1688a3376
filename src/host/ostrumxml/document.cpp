#include "host/ostrumxml/document.h"

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/generator.h"

namespace Ostrum {

Document::Document(std::unique_ptr<Content> content) noexcept : content(std::move(content)) {}

Document::~Document() = default;

Element& Document::GetRoot() noexcept { return *content->root; }

std::string Document::GenerateXML(bool) const { return Generate().Joined(); }

GeneratedText Document::Generate() const { return GeneratedText(*content); }

bool Document::CanHold(std::string_view elementName, std::string_view attributeName, std::string_view value) const {
  return content->CanHold(elementName, attributeName, value);
}

} // namespace Ostrum
