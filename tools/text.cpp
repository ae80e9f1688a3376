#include "text.h"

#include <corekit/corekit.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iostream>

#include "commands.h"
#include "host/ostrumxml/data/utf8.h"

namespace {

bool localeIsUtf8 = false;

constexpr const char *Red = "\033[1;31m", *Green = "\033[32m", *Dim = "\033[2m", *Bold = "\033[1m";

const bool isTerminal = isatty(STDOUT_FILENO) != 0;

// Adds the colour if the stream is a terminal with colours and NO_COLOR is not set.
std::string Coloured(int stream, const char* colour, const std::string& text) {
  const char* const noColour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool isRefused = noColour != nullptr && *noColour != '\0';
  const bool isPlain =
      terminal == nullptr || std::string_view(terminal) == "dumb" || isatty(stream) == 0;
  return isRefused || isPlain ? text : colour + text + "\033[0m";
}

// Control characters are escaped on a terminal. JSON is UTF-8 in every locale.
std::string ToPrint(const std::string& utf8, bool isJson = false) {
  if (isTerminal) return Printable(utf8, "\t\n");
  const auto text = isJson ? utf8 : ToLocale(utf8);
  return text ? *text : Printable(utf8, "\t\n\r");
}

std::string Line(const Table::Row& row) {
  std::string line;
  const auto withoutSeparator = [](char c) {
    return c == '\t' || c == '\n' || c == '\r' ? ' ' : c;
  };
  for (std::size_t i = 0; i < row.size() && (row[i] || i + 1 < row.size()); ++i) {
    if (i > 0) line += '\t';
    const auto start = static_cast<std::ptrdiff_t>(line.size());
    line += row[i].value_or("");
    std::transform(line.begin() + start, line.end(), line.begin() + start, withoutSeparator);
  }
  return ToPrint(line);
}

int logLevel = 0;

void ShowLogLine(void*, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) try {
  const bool enters = kind == corekit::LogKind::TraceEnter,
             leaves = kind == corekit::LogKind::TraceLeave;
  if ((enters || leaves) && logLevel < 2) return;
  std::string line;
  Ostrum::Utf8FromWide(std::wstring(enters   ? L"> "
                                    : leaves ? L"< "
                                             : L"") +
                           component + L": " + text,
                       line);
  const char* const colour = kind == corekit::LogKind::Error ? Red : Dim;
  std::cerr << Coloured(STDERR_FILENO, colour, Printable(line)) << '\n';
} catch (const std::exception&) { // a sink must not throw; without memory the line is lost
}

} // namespace

void UseLocale() {
  std::setlocale(LC_ALL, "");
  const std::string_view name = std::setlocale(LC_CTYPE, nullptr);
  if (name == "C" || name == "POSIX") std::setlocale(LC_CTYPE, "C.UTF-8");
  wchar_t character = 0;
  localeIsUtf8 = std::mbtowc(&character, "\xE2\x82\xAC", 3) == 3 && character == 0x20AC;
}

std::optional<std::string> FromLocale(const std::string& text) {
  if (text.find('\0') != std::string::npos) return std::nullopt;
  if (localeIsUtf8) return Ostrum::IsUtf8(text) ? std::optional(text) : std::nullopt;
  std::wstring wide(text.size() + 1, L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), text.c_str(), wide.size());
  std::string utf8;
  if (length > text.size() || !Ostrum::Utf8FromWide(wide.substr(0, length), utf8))
    return std::nullopt;
  return utf8;
}

std::optional<std::string> ToLocale(std::string_view utf8) {
  if (localeIsUtf8) return std::string(utf8);
  const std::wstring wide = Ostrum::WideFromUtf8(utf8);
  std::string text(wide.size() * MB_LEN_MAX + 1, '\0');
  const std::size_t length = std::wcstombs(text.data(), wide.c_str(), text.size());
  if (length > text.size()) return std::nullopt;
  text.resize(length);
  return text;
}

bool HasForm(std::string_view utf8) { return localeIsUtf8 || ToLocale(utf8); }

std::string Printable(std::string_view utf8, std::string_view kept) {
  std::string result;
  for (const wchar_t character : Ostrum::WideFromUtf8(utf8)) {
    char bytes[MB_LEN_MAX + sizeof "\\u0010ffff"] = "\\"; // the separator, in every character set
    std::mbstate_t state{};
    const std::size_t length = character == L'\\' ? 1 : std::wcrtomb(bytes, character, &state);
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool isRefused =
        isControl && kept.find(static_cast<char>(character)) == std::string_view::npos;
    const bool isKept = !isRefused && length <= MB_LEN_MAX;
    bytes[isKept ? length : 0] = '\0';
    if (!isKept)
      std::snprintf(bytes, sizeof bytes, "\\u%04lx", static_cast<unsigned long>(character));
    result += bytes;
  }
  return result;
}

void PrintValue(const std::string& value) { std::cout << ToPrint(value) << '\n'; }

void PrintGood(const std::string& value, bool isGood) {
  std::cout << Coloured(STDOUT_FILENO, isGood ? Green : Red, value) << '\n';
}

void PrintJson(const Json& value) { std::cout << ToPrint(value.dump(2), true) << '\n'; }

void Table::Add(const Row& row) {
  const bool isFirst = std::exchange(isEmpty, false);
  if (!asJson) {
    const bool hasHead = isFirst && isTerminal && names.size() > 1;
    if (hasHead) std::cout << Coloured(STDOUT_FILENO, Bold, Line(names)) << '\n';
    std::cout << Line(row) << '\n';
    return;
  }
  Json entry;
  for (std::size_t i = 0; i < row.size(); ++i) {
    (names.size() == 1 ? entry : entry[*names[i]]) = row[i] ? Json(*row[i]) : Json();
  }
  std::cout << (isFirst ? "[\n  " : ",\n  ") << ToPrint(entry.dump(), true);
}

void Table::Finish() const {
  if (asJson) std::cout << (isEmpty ? "[]\n" : "\n]\n");
}

void PrintMessage(const std::string& line) {
  std::cerr << Coloured(STDERR_FILENO, Red, "tarvik:") << ' ' << Printable(line) << '\n';
}

void ShowLog(int level) {
  logLevel = level;
  if (level > 0) corekit::SetLogSink(ShowLogLine, nullptr);
}

void FlushOutput() {
  if (!std::cout.flush()) throw CommandError("standard output: cannot be written");
}
