#include <corekit/corekit.h>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// After windows.h, on which it depends.
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <new>

#include "host/ostrumxml/data/utf8.h"
#include "system.h"
#include "text/charset_scope.h"

namespace console {
namespace {

// Null if the stream leads elsewhere.
HANDLE ConsoleOf(std::FILE* stream) noexcept {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  DWORD mode = 0;
  if (!GetConsoleMode(handle, &mode)) return nullptr;
  return handle;
}

} // namespace

void Prepare() {
  std::ios::sync_with_stdio(false); // so that std::cin notices errors
  for (std::FILE* const stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
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

bool IsTerminal(std::FILE* stream) noexcept { return ConsoleOf(stream) != nullptr; }

void Write(std::FILE* stream, std::string_view bytes) {
  const HANDLE console = ConsoleOf(stream);
  if (console == nullptr) {
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    return;
  }
  constexpr std::size_t maxPart = 8192; // in units of UTF-16
  const std::wstring text = Ostrum::WideFromUtf8(bytes);
  DWORD written = 1;
  for (std::size_t done = 0; done < text.size() && written > 0; done += written) {
    const auto part = static_cast<DWORD>(std::min(text.size() - done, maxPart));
    WriteConsoleW(console, text.data() + done, part, &written, nullptr);
  }
}

// Opening a pipe to find out would take its only connection.
bool IsPipe(const platform::FileName& name) { return name.native().starts_with(L"\\\\.\\"); }

void HoldSignals(bool areHeld) { SetConsoleCtrlHandler(nullptr, areHeld ? TRUE : FALSE); }

} // namespace console
