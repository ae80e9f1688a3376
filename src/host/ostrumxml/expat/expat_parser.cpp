// The parser is told that its input is UTF-8, because decoding comes before it. It gets no handler
// for external entities, so nothing outside the document is ever read.
#include "host/ostrumxml/expat/expat_parser.h"

#include <cassert>
#include <climits>
#include <cstring>
#include <new>

namespace Ostrum {

ExpatParser::ExpatParser() {
  parser.reset(XML_ParserCreate("UTF-8"));
  if (!parser) throw std::bad_alloc();
  // Without this the parser would skip the parameter entities of the document itself, and with them
  // what they declare.
  XML_SetParamEntityParsing(parser.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
}

XML_Status ExpatParser::Feed(std::string_view bytes, bool last) noexcept {
  assert(bytes.size() <= INT_MAX);
  if (bytes.empty())
    return XML_Parse(Get(), "", 0,
                     last ? XML_TRUE : XML_FALSE); // a buffer of no size need not be there
  void* const buffer = XML_GetBuffer(Get(), static_cast<int>(bytes.size()));
  if (buffer == nullptr) return XML_STATUS_ERROR;
  std::memcpy(buffer, bytes.data(), bytes.size());
  return XML_ParseBuffer(Get(), static_cast<int>(bytes.size()), last ? XML_TRUE : XML_FALSE);
}

} // namespace Ostrum
