#ifndef TARVIK_HOST_OSTRUMXML_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/nodes/node.h"
#include "host/ostrumxml/read/readers.h"

namespace Ostrum {

class GeneratedText;
struct Edit;

// An XML document, made by ParseXML. It consists of its source text and an index of the elements in
// it.
class Document {
 public:
  explicit Document(std::unique_ptr<IndexedDocument> parsed) noexcept;
  virtual ~Document();
  Document(Document&&) = delete;

  Element GetRoot() const noexcept;

  // The whole document as text: its source with the changes made since parsing. Nothing else is
  // reformatted; the flag has no effect. Throws std::bad_alloc, and std::length_error if the text
  // has become too long to be parsed.
  std::string GenerateXML(bool layout) const;
  // The same text in pieces.
  GeneratedText Generate() const;

  // What has to be replaced in the source to get that text; nothing if nothing was changed.
  std::vector<Edit> Edits() const;

  // Whether the attribute's declared type, if it has one, keeps the value unchanged.
  bool CanHold(std::string_view elementName, std::string_view attributeName,
               std::string_view value) const;

 private:
  std::unique_ptr<IndexedDocument> indexed;
};

// Parses the first `length` bytes of the text. Returns a new document, which the caller deletes, or
// null if the text is not well-formed or exceeds a limit. error, line and column (from 1, in
// characters) then tell why and where. Throws ReadFailure if the text is not valid UTF-8, and
// std::bad_alloc.
Document* ParseXML(std::string text, int length, PARSER_ERROR& error, int& line, int& column);

} // namespace Ostrum

#endif
