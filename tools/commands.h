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
  std::string file;      // that is opened
  std::string shownFile; // as messages name it
  bool encrypted = false, json = false;
  std::vector<std::string> arguments; // behind the file
  std::string attribute;
  bool itemIsAttribute = false, existing = false, dryRun = false;
  bool all = false, withIds = false, withValues = false;
  std::uint32_t index = 1, occurrence = 1;
  std::uint32_t depth = 0; // 0: all the way down
};

// Reads the command line and runs the command that it names.
ExitStatus RunCommandLine(int argumentCount, char** arguments);

ExitStatus Get(const Options& options);
ExitStatus List(const Options& options);
ExitStatus Check(const Options& options);
ExitStatus Set(const Options& options);
ExitStatus Status(const Options& options);
ExitStatus Detect(const Options& options);
ExitStatus Files(const Options& options);
ExitStatus Match(const Options& options);

#endif
