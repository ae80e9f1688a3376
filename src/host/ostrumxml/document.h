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
  Document(Document&&) = delete;

  Element& GetRoot() noexcept;

  // The whole document as text: its own source, with what was set since it was parsed in its place. Nothing else is laid out
  // anew, whatever the flag says. Throws std::bad_alloc, and std::length_error when the text grew beyond what can be parsed.
  std::string GenerateXML(bool layout) const;
  // The same text in pieces.
  GeneratedText Generate() const;

  // Whether the declared type of an element's attribute, if it has one, leaves the value as it is.
  bool CanHold(std::string_view elementName, std::string_view attributeName, std::string_view value) const;

 private:
  std::unique_ptr<Content> content;
};

// Why a text did not parse: 0, or the number that Expat gives the reason, or one of those here.
enum PARSER_ERROR : int {
  NO_PARSER_ERROR = 0,
  NO_PARSER_MEMORY = 1,
  TOO_MANY_ENTITIES = 1001,     // that refer to others: the parser could overflow the stack
  TOO_MANY_DECLARATIONS = 1002, // of attributes, times elements: far more than the text is long
  TOO_MUCH_EXPANSION = 1003,    // entities and declared defaults stand for far more than the text
};

// The reason in words, which are static.
const char* ReasonOf(PARSER_ERROR error) noexcept;

// Whether the text is not well-formed, rather than beyond a limit or out of memory.
bool IsIllFormed(PARSER_ERROR error) noexcept;

// Parses the first `length` bytes of the text, which is valid UTF-8. Gives a new document, which the caller deletes, or null
// when they are not a well-formed document or it is out of proportion; error, line and column (from 1, in characters) then say why
// and where, and a log line under the component "ostrumxml" does too. Throws std::bad_alloc.
Document* ParseXML(std::string text, int length, PARSER_ERROR& error, int& line, int& column);

} // namespace Ostrum

#endif
