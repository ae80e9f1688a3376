#ifndef TARVIK_TOOLS_LINE_DIFF_H
#define TARVIK_TOOLS_LINE_DIFF_H

#include <string>
#include <string_view>

// The lines that differ: old ones behind "-", new ones behind "+". Empty for equal texts.
std::string LineDiff(std::string_view before, std::string_view after);

#endif
