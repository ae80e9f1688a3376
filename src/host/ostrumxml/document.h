#ifndef TARVIK_HOST_OSTRUMXML_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>

#include "host/ostrumxml/node.h"

namespace Ostrum {

struct Content;
class GeneratedText;

// An XML document. It is held as its own source text and an index of elements over it; made by ParseXML.
class Document {
 public:
  explicit Document(std::unique_ptr<Content> content) noexcept;
  virtual ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  Element& GetRoot() noexcept;

  // The whole document as text: its own source, with what was set since it was parsed in its place. Nothing else is laid out
  // anew, whatever the flag says. Throws std::bad_alloc, and std::length_error when the text grew beyond what can be parsed.
  std::string GenerateXML(bool layout) const;
  // The same text in pieces.
  GeneratedText Generate() const;

  // As Element::CanHold, for an element of that name, which the document need not have.
  bool CanHold(std::string_view elementName, std::string_view attributeName, std::string_view value) const;

 private:
  std::unique_ptr<Content> content;
};

} // namespace Ostrum

#endif
