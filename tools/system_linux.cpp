#include <fcntl.h>
#include <langinfo.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include "host/ostrumxml/data/utf8.h"
#include "system.h"

namespace console {
namespace {

bool userTextIsUtf8 = true;

int DescriptorOf(Stream stream) { return stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO; }

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool ReadAll(int descriptor, std::string& bytes) {
  constexpr std::size_t part = 65536;
  for (;;) {
    const std::size_t size = bytes.size();
    bytes.resize(size + part);
    const ssize_t count = read(descriptor, bytes.data() + size, part);
    bytes.resize(size + static_cast<std::size_t>(count < 0 ? 0 : count));
    if (count == 0) return true;
    if (count < 0 && errno != EINTR) return false;
  }
}

sigset_t EndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
  return signals;
}

} // namespace

// The next file to be opened would get a closed stream's descriptor, and output would go to that
// file. A folder takes the descriptor instead, because it can be neither read nor written.
void Prepare() {
  int descriptor;
  do descriptor = open("/", O_RDONLY | O_CLOEXEC);
  while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);

  const char* const locale = std::setlocale(LC_CTYPE, "");
  const std::string_view name = locale == nullptr ? "C" : locale;
  if (name == "C" || name == "POSIX") std::setlocale(LC_CTYPE, "C.UTF-8");
  userTextIsUtf8 = CharsetName() == "UTF-8";
}

std::vector<std::string> Arguments(int count, char** arguments) {
  return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

std::optional<std::string> ToUtf8(const std::string& userText) {
  if (userText.find('\0') != std::string::npos) return std::nullopt;
  if (userTextIsUtf8) return Ostrum::IsUtf8(userText) ? std::optional(userText) : std::nullopt;
  std::wstring wide(userText.size() + 1, L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), userText.c_str(), wide.size());
  std::string utf8;
  if (length > userText.size() || !Ostrum::Utf8FromWide(wide.substr(0, length), utf8))
    return std::nullopt;
  return utf8;
}

std::optional<std::string> FromUtf8(std::string_view utf8) {
  if (userTextIsUtf8) return std::string(utf8);
  const std::wstring wide = Ostrum::WideFromUtf8(utf8);
  std::string text(wide.size() * MB_LEN_MAX + 1, '\0');
  const std::size_t length = std::wcstombs(text.data(), wide.c_str(), text.size());
  if (length > text.size()) return std::nullopt;
  text.resize(length);
  return text;
}

bool IsUtf8() { return userTextIsUtf8; }

std::string CharsetName() { return nl_langinfo(CODESET); }

platform::FileName FileNameOf(const std::string& userText) { return userText; }

bool IsTerminal(Stream stream) { return isatty(DescriptorOf(stream)) != 0; }

bool Write(Stream stream, std::string_view bytes) { return WriteAll(DescriptorOf(stream), bytes); }

bool IsPipe(const platform::FileName& name) {
  struct stat state;
  return stat(name.c_str(), &state) == 0 && (S_ISFIFO(state.st_mode) || S_ISCHR(state.st_mode));
}

bool ReadPipe(const platform::FileName* name, std::string& bytes) {
  if (name == nullptr) return ReadAll(STDIN_FILENO, bytes);
  const int descriptor = open(name->c_str(), O_RDONLY | O_CLOEXEC);
  const bool isRead = descriptor >= 0 && ReadAll(descriptor, bytes);
  if (descriptor >= 0) close(descriptor);
  return isRead;
}

struct MemoryFile::System {
  explicit System(int created) : descriptor(created) {}
  ~System() { close(descriptor); }
  System(System&&) = delete;
  const int descriptor;
};

MemoryFile::MemoryFile(std::string_view bytes) {
  const int descriptor = memfd_create("tarvik", MFD_CLOEXEC);
  if (descriptor >= 0) system = std::make_unique<System>(descriptor);
  if (!system || !WriteAll(descriptor, bytes))
    throw std::system_error(errno, std::generic_category(), "cannot keep the input in memory");
  name = "/proc/self/fd/" + std::to_string(descriptor);
}

MemoryFile::~MemoryFile() = default;

HeldSignals::HeldSignals() {
  const sigset_t signals = EndingSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

HeldSignals::~HeldSignals() {
  const sigset_t signals = EndingSignals();
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

} // namespace console
