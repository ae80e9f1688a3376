// What the command can do. Each prints its data and tells whether there was any; a failure is thrown as CommandError.
#ifndef TARVIK_TOOLS_COMMANDS_H
#define TARVIK_TOOLS_COMMANDS_H

#include "command_error.h"
#include "options.h"

ExitStatus Get(const Options& options);
ExitStatus List(const Options& options);
ExitStatus Set(const Options& options);
ExitStatus Check(const Options& options);
ExitStatus Status(const Options& options);
ExitStatus Detect(const Options& options);
ExitStatus Files(const Options& options);
ExitStatus Match(const Options& options);

#endif
