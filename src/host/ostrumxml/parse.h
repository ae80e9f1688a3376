#ifndef TARVIK_HOST_OSTRUMXML_PARSE_H
#define TARVIK_HOST_OSTRUMXML_PARSE_H

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/document_text.h"

namespace Ostrum {

// Why a text did not parse: 0, or the number that Expat gives the reason, or one of those here.
enum PARSER_ERROR : int {
  NO_PARSER_ERROR = 0,
  // Elements whose tags come from an entity have no place of their own in the text, so a change of them could not be saved.
  ELEMENTS_FROM_ENTITY = 1000,
  // Entities could be nested so deep that expanding them overflows the stack.
  TOO_MANY_ENTITIES = 1001,
  // The parser would look at the attributes declared for elements far more often than the text is long.
  TOO_MANY_DECLARATIONS = 1002,
};

// Parses the first `length` wide characters of the text. Gives a new document, which the caller deletes, or null when they
// are not a well-formed document or memory ran out inside the parser; error, line and column (from 1) then say why and where, and a
// log line under the component "ostrumxml" does too. Throws std::bad_alloc.
Document* ParseXML(DocumentText text, int length, PARSER_ERROR& error, int& line, int& column);

} // namespace Ostrum

#endif
