#include <corekit/corekit.h>
#include <windows.h>
// After windows.h, on which it depends.
#include <shellapi.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <system_error>

#include "host/ostrumxml/data/utf8.h"
#include "platform/platform.h"
#include "system.h"
#include "text/charset_scope.h"

namespace console {
namespace {

HANDLE HandleOf(Stream stream) {
  return GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

bool WriteBytes(HANDLE handle, std::string_view bytes) {
  const auto size = static_cast<DWORD>(bytes.size());
  DWORD written = 0;
  return WriteFile(handle, bytes.data(), size, &written, nullptr) && written == size;
}

bool WriteToConsole(HANDLE handle, std::string_view utf8) {
  constexpr std::size_t maxPart = 8192; // in units of UTF-16
  const std::wstring text = Ostrum::WideFromUtf8(utf8);
  for (std::size_t done = 0; done < text.size();) {
    DWORD written = 0;
    const auto part = static_cast<DWORD>(std::min(text.size() - done, maxPart));
    if (!WriteConsoleW(handle, text.data() + done, part, &written, nullptr)) return false;
    done += written;
  }
  return true;
}

// Reads what is typed, until a line begins with Ctrl+Z.
bool ReadConsole(HANDLE handle, std::string& bytes) {
  constexpr wchar_t endOfInput = 0x1A;
  std::wstring text;
  wchar_t part[1024];
  for (DWORD count = 0; ReadConsoleW(handle, part, std::size(part), &count, nullptr);) {
    if (count == 0 || part[0] == endOfInput) return Ostrum::Utf8FromWide(text, bytes);
    text.append(part, count);
  }
  return false;
}

bool ReadAll(HANDLE handle, std::string& bytes) {
  char part[65536];
  for (;;) {
    DWORD count = 0;
    if (!ReadFile(handle, part, sizeof part, &count, nullptr))
      return GetLastError() == ERROR_BROKEN_PIPE; // the writer is done
    if (count == 0) return true;
    bytes.append(part, count);
  }
}

// A name in the folder for temporary files that no other program uses.
std::wstring TemporaryName() {
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = GetTempPathW(std::size(folder), folder);
  std::uint64_t random = 0;
  if (length == 0 || length > MAX_PATH || !platform::FillRandom(&random, sizeof random))
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "no folder for temporary files");
  return std::wstring(folder, length) + L"tarvik-" + std::to_wstring(random) + L".tmp";
}

} // namespace

void Prepare() {
  corekit::SetUtf8(true);
  static const CharsetScope scope; // for conversions outside of the library's functions, too
}

std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) throw std::bad_alloc();
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) {
    std::string utf8;
    // Half of a surrogate pair has no form in UTF-8, and becomes a byte that none has.
    arguments.push_back(Ostrum::Utf8FromWide(wide[i], utf8) ? utf8 : "\xFF");
  }
  LocalFree(wide);
  return arguments;
}

platform::FileName FileNameOf(const std::string& userText) {
  if (!Ostrum::IsUtf8(userText)) return {};
  return platform::AbsoluteFileName(userText.c_str(), Ostrum::WideFromUtf8(userText).c_str());
}

bool IsTerminal(Stream stream) { return IsConsole(HandleOf(stream)); }

bool Write(Stream stream, std::string_view bytes) {
  const HANDLE handle = HandleOf(stream);
  return IsConsole(handle) ? WriteToConsole(handle, bytes) : WriteBytes(handle, bytes);
}

// Opening a pipe to find out would take its only connection.
bool IsPipe(const platform::FileName& name) { return name.native().starts_with(L"\\\\.\\"); }

bool ReadPipe(const platform::FileName* name, std::string& bytes) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  if (name == nullptr) return IsConsole(input) ? ReadConsole(input, bytes) : ReadAll(input, bytes);
  const HANDLE pipe =
      CreateFileW(name->c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) return false;
  const bool isRead = ReadAll(pipe, bytes);
  CloseHandle(pipe);
  return isRead;
}

// The system deletes the file when the process ends and closes the handle, even of a process that
// is killed, and writes it to the disk only if memory runs short.
std::string MakeMemoryFile(std::string_view bytes) {
  const std::wstring wideName = TemporaryName();
  const HANDLE handle =
      CreateFileW(wideName.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  std::string name;
  if (handle == INVALID_HANDLE_VALUE || !WriteBytes(handle, bytes) ||
      !Ostrum::Utf8FromWide(wideName, name))
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "cannot keep the input");
  return name;
}

void HeldSignals::Hold(bool isHeld) { SetConsoleCtrlHandler(nullptr, isHeld ? TRUE : FALSE); }

} // namespace console
