#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "terminal.h"

bool IsColourTerminal(Stream stream) {
  const char* type = std::getenv("TERM");
  if (type == nullptr || std::string_view(type) == "dumb") return false;
  return isatty(stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO) == 1;
}
