// Reads the command line.
#ifndef TARVIK_TOOLS_COMMAND_LINE_H
#define TARVIK_TOOLS_COMMAND_LINE_H

#include "command_error.h"
#include "options.h"

// Runs the command that the arguments name. Help and version are printed, wrong usage is thrown as CommandError.
ExitStatus RunCommandLine(int argumentCount, char** arguments);

#endif
