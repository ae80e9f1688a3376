#include "output.h"

#include <corekit/corekit.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "commands.h"
#include "host/ostrumxml/utf8.h"
#include "text.h"

namespace {

constexpr const char* Red = "\033[1;31m";
constexpr const char* Green = "\033[32m";
constexpr const char* Dim = "\033[2m";
constexpr const char* Bold = "\033[1m";

bool IsTerminal() { return isatty(STDOUT_FILENO) != 0; }

// In a colour where the stream shows on a terminal that knows colours and the environment does not set NO_COLOR.
std::string Coloured(int stream, const char* colour, const std::string& text) {
  const char* const noColour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool isRefused = noColour != nullptr && *noColour != '\0';
  if (isRefused || terminal == nullptr || std::string_view(terminal) == "dumb" || isatty(stream) == 0) return text;
  return colour + text + "\033[0m";
}

// A terminal gets no control characters.
std::string ToPrint(const std::string& utf8) {
  static const bool isTerminal = isatty(STDOUT_FILENO) != 0;
  const auto text = isTerminal ? std::nullopt : ToLocale(utf8);
  return text ? *text : Printable(utf8, isTerminal ? "\t\n" : "\t\n\r");
}

std::string Line(const Table::Row& row) {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (!row[i] && i + 1 == row.size()) break;
    std::string field = row[i].value_or("");
    const auto isSeparator = [](char c) { return c == '\t' || c == '\n' || c == '\r'; };
    std::replace_if(field.begin(), field.end(), isSeparator, ' ');
    line += (i == 0 ? "" : "\t") + field;
  }
  return ToPrint(line);
}

int logLevel = 0;

void ShowLogLine(void*, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) try {
  const bool enters = kind == corekit::LogKind::TraceEnter, leaves = kind == corekit::LogKind::TraceLeave;
  if ((enters || leaves) && logLevel < 2) return;
  std::string line;
  Ostrum::Utf8FromWide(std::wstring(enters ? L"> " : leaves ? L"< " : L"") + component + L": " + text, line);
  const char* const colour = kind == corekit::LogKind::Error ? Red : Dim;
  std::cerr << Coloured(STDERR_FILENO, colour, Printable(line)) << '\n';
} catch (const std::exception&) { // a sink must not throw; a line that there is no memory for is lost
}

} // namespace

void PrintValue(const std::string& value) { std::cout << ToPrint(value) << '\n'; }

void PrintGood(const std::string& value, bool isGood) {
  std::cout << Coloured(STDOUT_FILENO, isGood ? Green : Red, value) << '\n';
}

void PrintJson(const Json& value) {
  const std::string text = value.dump(2);
  std::cout << (IsTerminal() ? ToPrint(text) : text) << '\n';
}

void Table::Add(const Row& row) {
  const bool isFirst = std::exchange(isEmpty, false);
  if (!asJson) {
    const bool hasHead = isFirst && IsTerminal() && names.size() > 1;
    if (hasHead) std::cout << Coloured(STDOUT_FILENO, Bold, Line(names)) << '\n';
    std::cout << Line(row) << '\n';
    return;
  }
  Json& entry = json.emplace_back();
  for (std::size_t i = 0; i < row.size(); ++i) {
    (names.size() == 1 ? entry : entry[*names[i]]) = row[i] ? Json(*row[i]) : Json();
  }
}

void Table::Finish() const {
  if (asJson) PrintJson(json);
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
