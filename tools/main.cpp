// The command `tarvik`: shows what the library does to a person and to scripts.
#include <fcntl.h>
#include <unistd.h>

#include <iostream>

#include "commands.h"
#include "output.h"
#include "text.h"

namespace {

// A file that is opened while a standard stream is closed would take its number, and receive what is printed.
void OccupyStandardStreams() {
  int descriptor = STDIN_FILENO;
  while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDONLY);
  if (descriptor >= 0) close(descriptor);
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
  } catch (const std::exception& error) {
    PrintMessage(error.what());
    const auto* const known = dynamic_cast<const CommandError*>(&error);
    return static_cast<int>(known == nullptr ? ExitStatus::Failed : known->status);
  }
}
