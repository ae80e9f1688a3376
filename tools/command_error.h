// What the command tells its caller beside the data: the exit status, and the one line on standard error.
#ifndef TARVIK_TOOLS_COMMAND_ERROR_H
#define TARVIK_TOOLS_COMMAND_ERROR_H

#include <stdexcept>
#include <string>

enum class ExitStatus { Found = 0, NothingFound = 1, Failed = 2 };

// The line without the command's name and without a line end; it names the file that it concerns.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& line, ExitStatus exitStatus = ExitStatus::Failed)
      : std::runtime_error(line), status(exitStatus) {}

  const ExitStatus status;
};

#endif
