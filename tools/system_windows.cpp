#include <corekit/corekit.h>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// After windows.h, on which it depends.
#include <shellapi.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
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

} // namespace

void Prepare() {
  std::ios::sync_with_stdio(false); // so that std::cin notices errors
  _setmode(_fileno(stdin), _O_BINARY);
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

// Until a line begins with Ctrl+Z.
bool ReadTyped(std::string& userText) {
  constexpr wchar_t endOfInput = 0x1A;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  std::wstring text;
  wchar_t part[1024];
  for (DWORD count = 0; ReadConsoleW(input, part, std::size(part), &count, nullptr);) {
    if (count == 0 || part[0] == endOfInput) return Ostrum::Utf8FromWide(text, userText);
    text.append(part, count);
  }
  return false; // not a console
}

// The system deletes the file when the process ends and closes the handle, even of a process that
// is killed, and writes it to the disk only if memory runs short.
std::string MakeMemoryFile(std::string_view bytes) {
  std::uint64_t random = 0;
  const bool isRandom = platform::FillRandom(&random, sizeof random);
  const platform::FileName wideName =
      std::filesystem::temp_directory_path() / ("tarvik-" + std::to_string(random) + ".tmp");
  const HANDLE handle =
      CreateFileW(wideName.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  std::string name;
  if (!isRandom || handle == INVALID_HANDLE_VALUE || !WriteBytes(handle, bytes) ||
      !Ostrum::Utf8FromWide(wideName.native(), name))
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "cannot keep the input");
  return name;
}

void HoldSignals(bool areHeld) { SetConsoleCtrlHandler(nullptr, areHeld ? TRUE : FALSE); }

} // namespace console
