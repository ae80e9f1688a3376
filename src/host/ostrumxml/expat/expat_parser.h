#ifndef TARVIK_HOST_OSTRUMXML_EXPAT_EXPAT_PARSER_H
#define TARVIK_HOST_OSTRUMXML_EXPAT_EXPAT_PARSER_H

#include <expat.h>

#include <memory>
#include <string_view>

namespace Ostrum {

// Owner of an Expat parser that takes its input as UTF-8, whatever the text claims to be in.
// External entities are never fetched: no handler for them is set.
class ExpatParser {
 public:
  ExpatParser(); // throws std::bad_alloc

  XML_Parser Get() const noexcept { return parser.get(); }

  // Gives the parser the next bytes. It copies them into its buffer, so they may move while it
  // works on them. REQUIRES: at most INT_MAX bytes.
  XML_Status Feed(std::string_view bytes, bool last) noexcept;

 private:
  struct Release {
    void operator()(XML_Parser released) const noexcept { XML_ParserFree(released); }
  };
  std::unique_ptr<XML_ParserStruct, Release> parser;
};

} // namespace Ostrum

#endif
