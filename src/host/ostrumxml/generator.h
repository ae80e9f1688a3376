#ifndef TARVIK_HOST_OSTRUMXML_GENERATOR_H
#define TARVIK_HOST_OSTRUMXML_GENERATOR_H

#include <string>

#include "host/ostrumxml/content.h"

namespace Ostrum {

// Generates a document's text: the source, edited where something was set. What it costs beyond the copy goes by the number
// of changes, not by that of elements. Throws std::length_error when the text grows beyond what can be parsed.
std::string Generate(const Content& content);

} // namespace Ostrum

#endif
