// Why a text could not be parsed.
#ifndef TARVIK_HOST_OSTRUMXML_READ_PARSE_FAILURE_H
#define TARVIK_HOST_OSTRUMXML_READ_PARSE_FAILURE_H

namespace Ostrum {

// 0, Expat's number of the error, or one of these.
enum PARSER_ERROR : int {
  NO_PARSER_ERROR = 0,
  NO_PARSER_MEMORY = 1,
  TOO_MANY_ENTITIES = 1001,     // that refer to others; the parser could overflow the stack
  TOO_MANY_DECLARATIONS = 1002, // of attributes, times elements, for the length of the text
  TOO_MUCH_EXPANSION = 1003,    // of entities and declared defaults, for the length of the text
};

struct ParseFailure {
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;   // from 1
  int column = 0; // from 1, in characters
};

// The reason as static text.
const char* ReasonOf(PARSER_ERROR error) noexcept;

// Whether the error means that the text is not well-formed; false for limits and lack of memory.
bool IsIllFormed(PARSER_ERROR error) noexcept;

} // namespace Ostrum

#endif
