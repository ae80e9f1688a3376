// The command `tarvik`: shows what the library does to a person and to scripts.
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <ios>

#include "command_line.h"
#include "output.h"
#include "text.h"

namespace {

// A file that is opened while a standard stream is closed would take its number, and receive what is printed.
void OccupyStandardStreams() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDONLY);
  } while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

} // namespace

int main(int argumentCount, char** arguments) {
  OccupyStandardStreams();
  std::ios::sync_with_stdio(false);
  UseLocale();
  try {
    const ExitStatus status = RunCommandLine(argumentCount, arguments);
    FlushOutput();
    return static_cast<int>(status);
  } catch (const CommandError& error) {
    PrintError(error.what());
    return static_cast<int>(error.status);
  } catch (const std::exception& error) {
    PrintError(error.what());
    return static_cast<int>(ExitStatus::Failed);
  }
}
