#ifndef TARVIK_TOOLS_COMMAND_LINE_H
#define TARVIK_TOOLS_COMMAND_LINE_H

#include <string>
#include <vector>

#include "commands.h"

// Runs the command that the arguments, as user text, ask for. Throws CommandError with the whole
// line for standard error.
ExitStatus RunCommandLine(const std::vector<std::string>& arguments);

#endif
