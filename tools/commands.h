// The options of the command line and the commands.
#ifndef TARVIK_TOOLS_COMMANDS_H
#define TARVIK_TOOLS_COMMANDS_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

enum class ExitStatus { Found = 0, NothingFound = 1, Failed = 2 };

// An exception ends the command with ExitStatus::Failed. Its text is a line for standard error, to
// which the name of FILE is added. This one ends it with ExitStatus::NothingFound.
class NothingFound : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Wrong usage. The text is a line to which a hint at the help is added.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// All text is UTF-8, except that files are named as given, in user text.
struct Options {
  std::string file;                   // "-" is standard input
  std::vector<std::string> arguments; // those after the file; of check, more files
  std::optional<std::string> defaultText, from, keyFile; // the last two are files
  std::uint32_t depth = 0;                               // 0: no limit
  int verbosity = 0; // 1: the library's log lines, 2: its traces too
  bool encrypted = false, json = false, all = false, endsWithZero = false;
  bool attributes = false, values = false;
  bool existing = false, create = false, fromInput = false, dryRun = false;
};

// Each prints its data and returns whether there was any.
using Command = ExitStatus(const Options& options);
Command Get, List, Set, Remove, Check, Encrypt, Decrypt, Status, Detect, Files, Match;

#endif
