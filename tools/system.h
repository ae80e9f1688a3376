// What the command needs of the system and every system does in its own way: the character set of
// arguments and streams, the streams themselves, files without a name. system_linux.cpp and
// system_windows.cpp implement it; the build selects one.
#ifndef TARVIK_TOOLS_SYSTEM_H
#define TARVIK_TOOLS_SYSTEM_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

// "User text" is in the character set of arguments, input and output: on Linux the locale's, or
// UTF-8 if there is no locale or it is "C"; on Windows UTF-8, into which arguments are converted.
namespace console {

enum class Stream { Output, Error };

// Selects the locale, and keeps closed standard streams from being opened as other files. Call it
// first.
void Prepare();

// The arguments of the program as user text, without its name. May contain invalid bytes.
std::vector<std::string> Arguments(int count, char** arguments);

// Nothing if the text is not valid in its character set or cannot be represented in the other.
std::optional<std::string> ToUtf8(const std::string& userText);
std::optional<std::string> FromUtf8(std::string_view utf8);
bool IsUtf8(); // whether user text is UTF-8
std::string CharsetName();

platform::FileName FileNameOf(const std::string& userText);

bool IsTerminal(Stream stream);

// Writes bytes as they are or, to a terminal, user text. False on failure.
bool Write(Stream stream, std::string_view bytes);

// Whether the file can be read from beginning to end only: a pipe or a character device.
bool IsPipe(const platform::FileName& name);

// Reads a pipe, or standard input without a name, to its end. False on failure.
bool ReadPipe(const platform::FileName* name, std::string& bytes);

// A copy of bytes that programs can open by name while this object lives. It cannot stay behind,
// whatever ends the process. Throws std::system_error.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes);
  ~MemoryFile();
  MemoryFile(MemoryFile&&) = delete;

  const std::string& Name() const { return name; } // user text

 private:
  struct System;
  std::unique_ptr<System> system;
  std::string name;
};

// Holds back the signals by which users and the system end a program, so that a save completes.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(HeldSignals&&) = delete;
};

} // namespace console

#endif
