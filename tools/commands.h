// What the command line asks for, and the commands that answer. Each prints its data and tells whether there was any.
#ifndef TARVIK_TOOLS_COMMANDS_H
#define TARVIK_TOOLS_COMMANDS_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

enum class ExitStatus { Found = 0, NothingFound = 1, Failed = 2 };

// The one line on standard error, without the command's name and a line end; it names the file that it concerns.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& line, ExitStatus exitStatus = ExitStatus::Failed)
      : std::runtime_error(line), status(exitStatus) {}
  const ExitStatus status;
};

struct Options {
  std::string file, shownFile;        // the one that is opened, and as messages name it
  std::vector<std::string> arguments; // behind the file
  std::string attribute;
  bool encrypted = false, json = false, all = false, withIds = false, withValues = false;
  bool itemIsAttribute = false, existing = false, dryRun = false;
  std::uint32_t index = 1, occurrence = 1, depth = 0; // depth 0: all the way down
};

class Document;

using Command = ExitStatus(const Document& document, const Options& options);
Command Get, List, Set, Status, Detect, Files, Match;

// Reads the file by itself: the library opens no file that is not well-formed.
ExitStatus Check(const Options& options);

#endif
