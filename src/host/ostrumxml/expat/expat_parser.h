#ifndef TARVIK_HOST_OSTRUMXML_EXPAT_EXPAT_PARSER_H
#define TARVIK_HOST_OSTRUMXML_EXPAT_EXPAT_PARSER_H

#include <expat.h>

#include <cassert>
#include <climits>
#include <memory>
#include <new>
#include <string_view>

namespace Ostrum {

// Owner of an Expat parser that takes its input as UTF-8, whatever the text claims to be in,
// because decoding comes before it. It gets no handler for external entities, so nothing outside
// the document is ever read.
class ExpatParser {
 public:
  // Throws std::bad_alloc.
  ExpatParser() : parser(XML_ParserCreate("UTF-8"), XML_ParserFree) {
    if (!parser) throw std::bad_alloc();
    // Without this the parser would skip the parameter entities of the document itself, and with
    // them what they declare.
    XML_SetParamEntityParsing(Get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
  }

  XML_Parser Get() const noexcept { return parser.get(); }

  // Gives the parser the next bytes. REQUIRES: at most INT_MAX bytes.
  XML_Status Feed(std::string_view bytes, bool isLast) noexcept {
    assert(bytes.size() <= INT_MAX);
    return XML_Parse(Get(), bytes.data(), static_cast<int>(bytes.size()), isLast);
  }

 private:
  std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser;
};

} // namespace Ostrum

#endif
