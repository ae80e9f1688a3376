#include "host/ostrumxml/read/expat_parser.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/platform.h"

namespace Ostrum {
namespace {

// Named here rather than left to the parser, so that what it takes is taken from our own allocation
// functions, its copy of a large document in large pages.
void* Allocate(std::size_t size) {
  void* const memory = std::malloc(size);
  platform::PreferLargePages(memory, size);
  return memory;
}

void* Reallocate(void* memory, std::size_t size) { return std::realloc(memory, size); }

void Free(void* memory) { std::free(memory); }

} // namespace

ExpatParser::ExpatParser() {
  const XML_Memory_Handling_Suite memory{Allocate, Reallocate, Free};
  parser.reset(XML_ParserCreate_MM("UTF-8", &memory, nullptr));
  if (!parser) throw std::bad_alloc();
  // Without this the parser would skip the parameter entities of the document itself, and with them
  // what they declare.
  XML_SetParamEntityParsing(parser.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
}

XML_Status ExpatParser::Feed(std::string_view bytes, bool last, std::size_t room) noexcept {
  if (bytes.empty())
    return XML_Parse(Get(), "", 0,
                     last ? XML_TRUE : XML_FALSE); // a buffer of no size need not be there
  void* const buffer = XML_GetBuffer(Get(), static_cast<int>(std::max(bytes.size(), room)));
  if (buffer == nullptr) return XML_STATUS_ERROR;
  std::memcpy(buffer, bytes.data(), bytes.size());
  return XML_ParseBuffer(Get(), static_cast<int>(bytes.size()), last ? XML_TRUE : XML_FALSE);
}

} // namespace Ostrum
