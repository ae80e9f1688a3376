// What goes to the standard streams: data alone on standard output, everything else on standard error.
#ifndef TARVIK_TOOLS_OUTPUT_H
#define TARVIK_TOOLS_OUTPUT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "terminal.h"

enum class Colour { Red, Green, Dim, Bold };

// text in a colour where the stream is a colour terminal and the environment does not set NO_COLOR; else text alone.
std::string Coloured(Stream stream, Colour colour, std::string_view text);

// Data as standard output takes it: without control characters where that is a terminal.
std::string Shown(std::string_view text);

// A line of what Shown and Coloured gave.
void PrintLine(std::string_view line);

// A bare value on a line of its own.
void PrintValue(std::string_view value);

// One JSON value, indented, as UTF-8.
void PrintJson(const nlohmann::ordered_json& value);

// Rows of fields: separated by tabs, ready for cut and awk; on a terminal aligned, under a head line. A tab or line end
// within a field becomes a blank.
void PrintTable(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows);

// A field of a line in which tabs separate fields.
std::string AsField(std::string text);

// A line on standard error, after the command's name.
void PrintError(std::string_view line);
void PrintNote(std::string_view line);

// Hands on what is still buffered. Throws CommandError when standard output did not take everything.
void FlushOutput();

#endif
