#include "host/ostrumxml/read/parse_failure.h"

#include <expat.h>

namespace Ostrum {

const char* ReasonOf(PARSER_ERROR error) noexcept {
  if (error == TOO_MANY_ENTITIES) return "too many entities that refer to others";
  if (error == TOO_MANY_DECLARATIONS) return "too many declared attributes times elements";
  if (error == TOO_MUCH_EXPANSION)
    return "entities and declared defaults expand to far more than the document";
  return XML_ErrorString(static_cast<XML_Error>(error));
}

bool IsIllFormed(PARSER_ERROR error) noexcept {
  static_assert(static_cast<int>(NO_PARSER_MEMORY) == static_cast<int>(XML_ERROR_NO_MEMORY));
  return error != NO_PARSER_ERROR && error != NO_PARSER_MEMORY && error < TOO_MANY_ENTITIES &&
         static_cast<XML_Error>(error) != XML_ERROR_AMPLIFICATION_LIMIT_BREACH;
}

} // namespace Ostrum
