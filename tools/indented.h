#ifndef TARVIK_TOOLS_INDENTED_H
#define TARVIK_TOOLS_INDENTED_H

#include <string>

#include "host/ostrumxml/nodes/node.h"

// A new document with the elements, attributes and texts of another: a declaration, then each
// element on a line of its own, indented by two blanks for each level, except within an element
// that has text beside its child elements.
std::string WriteIndented(const Ostrum::Element& root);

#endif
