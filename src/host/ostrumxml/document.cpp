// Parsing: the plain reader first, then Expat for whatever that does not know. The source moves
// from one to the other, so that the text is held once.
#include "host/ostrumxml/document.h"

#include <algorithm>
#include <cassert>

#include "host/ostrumxml/nodes/indexed_document.h"
#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/save/generator.h"

namespace Ostrum {

Document::Document(std::unique_ptr<IndexedDocument> parsed) noexcept : indexed(std::move(parsed)) {
  assert(indexed != nullptr && indexed->data.root != 0);
}

Document::~Document() = default;

Element Document::GetRoot() const noexcept { return {*indexed, indexed->data.root}; }

std::string Document::GenerateXML(bool) const { return Generate().Joined(); }

GeneratedText Document::Generate() const { return GeneratedText(indexed->data); }

std::vector<Edit> Document::Edits() const { return EditsOf(indexed->data); }

bool Document::CanHold(std::string_view elementName, std::string_view attributeName,
                       std::string_view value) const {
  return indexed->data.CanHold(elementName, attributeName, value);
}

Document* ParseXML(std::string text, int length, PARSER_ERROR& error, int& line, int& column) {
  text.resize(std::min(text.size(), static_cast<std::size_t>(std::max(length, 0))));
  auto indexed = std::make_unique<IndexedDocument>(std::move(text));
  if (ReadPlainly(indexed->data)) return new Document(std::move(indexed));
  RequireUtf8(indexed->data.source);
  // Discards what the plain reader may have added to the index.
  indexed = std::make_unique<IndexedDocument>(std::move(indexed->data.source));
  const ParseFailure failure = ReadByParser(indexed->data);
  if (failure.error == NO_PARSER_ERROR) return new Document(std::move(indexed));
  error = failure.error;
  line = failure.line;
  column = failure.column;
  return nullptr;
}

} // namespace Ostrum
