#ifndef TARVIK_TOOLS_DIFF_H
#define TARVIK_TOOLS_DIFF_H

#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/save/generator.h"

// The unified diff that turns a file's text into the text with the edits, as the program `patch`
// reads it. Empty if they change nothing. edits: sorted, and none within another.
std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits, bool isNewFile = false);

#endif
