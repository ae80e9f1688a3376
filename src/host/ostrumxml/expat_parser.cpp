#include "host/ostrumxml/expat_parser.h"

#include <cstdlib>
#include <new>

namespace Ostrum {
namespace {

// Named here rather than left to the parser, so that what it takes is taken from our own allocation functions.
void* Allocate(std::size_t size) { return std::malloc(size); }

void* Reallocate(void* memory, std::size_t size) { return std::realloc(memory, size); }

void Free(void* memory) { std::free(memory); }

} // namespace

ExpatParser::ExpatParser() {
  const XML_Memory_Handling_Suite memory{Allocate, Reallocate, Free};
  parser.reset(XML_ParserCreate_MM("UTF-8", &memory, nullptr));
  if (!parser) throw std::bad_alloc();
}

} // namespace Ostrum
