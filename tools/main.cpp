// The command `tarvik`: reads and changes XML files for users and scripts.
#include <exception>
#include <new>

#include "command_line.h"
#include "output.h"
#include "system.h"

int main(int argumentCount, char** arguments) {
  console::Prepare();
  std::string line;
  ExitStatus status = ExitStatus::Failed;
  try {
    status = RunCommandLine(console::Arguments(argumentCount, arguments));
    FlushOutput();
    return static_cast<int>(status);
  } catch (const CommandError& error) {
    status = error.status;
    line = error.what();
  } catch (const std::bad_alloc&) {
    line = "out of memory";
  } catch (const std::exception& error) {
    line = error.what();
  }
  PrintMessage(line);
  return static_cast<int>(status);
}
