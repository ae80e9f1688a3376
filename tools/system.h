// What the command needs of the system and every system does in its own way. system_linux.cpp and
// system_windows.cpp implement it; the build selects one.
#ifndef TARVIK_TOOLS_SYSTEM_H
#define TARVIK_TOOLS_SYSTEM_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

// "User text" is in the character set of arguments, input and output: on Linux the locale's, or
// UTF-8 if there is no locale or it is "C"; on Windows UTF-8, into which arguments are converted.
namespace console {

// Selects the character set, makes the standard streams binary, and keeps closed ones from being
// opened as other files. Call it first.
void Prepare();

// The arguments of the program as user text, without its name. May contain invalid bytes.
std::vector<std::string> Arguments(int count, char** arguments);

platform::FileName FileNameOf(const std::string& userText);

bool IsTerminal(std::FILE* stream) noexcept;

// Writes bytes as they are or, to a terminal, user text. A failure shows in std::ferror.
void Write(std::FILE* stream, std::string_view bytes);

// Whether the file can be read from beginning to end only: a pipe or a character device.
bool IsPipe(const platform::FileName& name);

// Holds back the signals by which users end a program, so that a save completes, or lets them take
// effect.
void HoldSignals(bool areHeld);

} // namespace console

#endif
