// The command `tarvik`: shows what the library does to a person and to scripts.
#include <clocale>
#include <exception>

#include "command_line.h"
#include "output.h"

int main(int argumentCount, char** arguments) {
  std::setlocale(LC_ALL, "");
  try {
    const ExitStatus status = RunCommandLine(argumentCount, arguments);
    FlushOutput();
    return static_cast<int>(status);
  } catch (const std::exception& error) {
    PrintError(error.what());
    return static_cast<int>(ExitStatus::Failed);
  }
}
