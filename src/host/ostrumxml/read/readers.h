// The two readers that build a document's index: the plain reader, for nearly all documents, and
// the parser, Expat, for all others. Each is in a source file of its own, so that tests can replace
// one.
#ifndef TARVIK_HOST_OSTRUMXML_READ_READERS_H
#define TARVIK_HOST_OSTRUMXML_READ_READERS_H

namespace Ostrum {

struct DocumentData;

// 0, Expat's number of the error, or one of these.
enum PARSER_ERROR : int {
  NO_PARSER_ERROR = 0,
  NO_PARSER_MEMORY = 1,
  TOO_MANY_ENTITIES = 1001,     // that refer to others; the parser could overflow the stack
  TOO_MANY_DECLARATIONS = 1002, // of attributes, times elements, for the length of the text
  TOO_MUCH_EXPANSION = 1003,    // of entities and declared defaults, for the length of the text
};

// The reason as static text.
const char* ReasonOf(PARSER_ERROR error) noexcept;

// Whether the error means that the text is not well-formed; false for limits and lack of memory.
bool IsIllFormed(PARSER_ERROR error) noexcept;

struct ParseFailure {
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;   // from 1
  int column = 0; // from 1, in characters
};

// Both take data that has its source alone, and build the index of its elements. An index is to be
// discarded unless its reader succeeded. Both throw std::bad_alloc.

// Checks the source completely, also that it is valid UTF-8, much faster than the parser. False
// means "unknown": the source is malformed or has something unusual.
bool ReadPlainly(DocumentData& data);

// Runs the parser over the source, which must be valid UTF-8. Tells the failure if the source is
// not well-formed or exceeds a limit.
ParseFailure ReadByParser(DocumentData& data);

} // namespace Ostrum

#endif
