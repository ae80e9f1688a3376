#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <iostream>
#include <system_error>

#include "system.h"

namespace console {

// The next file to be opened would get a closed stream's descriptor, and output would go to that
// file. A folder takes the descriptor instead, because it can be neither read nor written.
void Prepare() {
  int descriptor;
  do descriptor = open("/", O_RDONLY | O_CLOEXEC);
  while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);

  std::ios::sync_with_stdio(false); // so that std::cin notices errors
  const char* const locale = std::setlocale(LC_CTYPE, "");
  const std::string_view name = locale == nullptr ? "C" : locale;
  if (name == "C" || name == "POSIX") std::setlocale(LC_CTYPE, "C.UTF-8");
}

std::vector<std::string> Arguments(int count, char** arguments) {
  return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

platform::FileName FileNameOf(const std::string& userText) { return userText; }

bool IsTerminal(std::FILE* stream) noexcept { return isatty(fileno(stream)) != 0; }

void Write(std::FILE* stream, std::string_view bytes) {
  std::fwrite(bytes.data(), 1, bytes.size(), stream);
}

bool IsPipe(const platform::FileName& name) {
  std::error_code failure;
  return is_fifo(name, failure) || is_character_file(name, failure);
}

void HoldSignals(bool areHeld) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  sigprocmask(areHeld ? SIG_BLOCK : SIG_UNBLOCK, &signals, nullptr);
}

} // namespace console
