// What the command needs of the system and every system does in its own way. system_linux.cpp and
// system_windows.cpp implement it; the build selects one.
#ifndef TARVIK_TOOLS_SYSTEM_H
#define TARVIK_TOOLS_SYSTEM_H

#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

// "User text" is in the character set of arguments, input and output: on Linux the locale's, or
// UTF-8 if there is no locale or it is "C"; on Windows UTF-8, into which arguments are converted.
namespace console {

enum class Stream { Output, Error };

// Selects the character set, and keeps closed standard streams from being opened as other files.
// Call it first.
void Prepare();

// The arguments of the program as user text, without its name. May contain invalid bytes.
std::vector<std::string> Arguments(int count, char** arguments);

platform::FileName FileNameOf(const std::string& userText);

bool IsTerminal(Stream stream);

// Writes bytes as they are or, to a terminal, user text. False on failure.
bool Write(Stream stream, std::string_view bytes);

// Whether the file can be read from beginning to end only: a pipe or a character device.
bool IsPipe(const platform::FileName& name);

// Reads a pipe, or standard input without a name, to its end. False on failure.
bool ReadPipe(const platform::FileName* name, std::string& bytes);

// Makes a copy of bytes that can be opened by name, and returns the name. Whatever ends the process
// also removes the copy. Throws std::system_error.
std::string MakeMemoryFile(std::string_view bytes);

// Holds back the signals by which users and the system end a program, so that a save completes.
class HeldSignals {
 public:
  HeldSignals() { Hold(true); }
  ~HeldSignals() { Hold(false); }
  HeldSignals(HeldSignals&&) = delete;

 private:
  static void Hold(bool isHeld);
};

} // namespace console

#endif
