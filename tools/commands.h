// The options of the command line and the commands. Each command prints its data and returns
// whether there was any.
#ifndef TARVIK_TOOLS_COMMANDS_H
#define TARVIK_TOOLS_COMMANDS_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

enum class ExitStatus { Found = 0, NothingFound = 1, Failed = 2 };

// The line for standard error, without the command's name and the line end. It names the file
// concerned.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& line, ExitStatus exitStatus = ExitStatus::Failed)
      : std::runtime_error(line), status(exitStatus) {}
  const ExitStatus status;
};

struct Options {
  std::string file, shownFile;        // the name to open, and the name for messages
  std::vector<std::string> arguments; // those after the file
  std::string attribute;
  bool encrypted = false, json = false, all = false, withIds = false, withValues = false;
  bool itemIsAttribute = false, existing = false, dryRun = false;
  std::uint32_t index = 1, occurrence = 1, depth = 0; // depth 0: no limit
};

class Document;

using Command = ExitStatus(const Document& document, const Options& options);
Command Get, List, Set, Status, Detect, Files, Match;

// Reads the file itself, because the library does not open a file that is not well-formed.
ExitStatus Check(const Options& options);

#endif
