#include "output.h"

#include <corekit/corekit.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "host/ostrumxml/utf8.h"
#include "text.h"

namespace {

bool ShowsColours(Stream stream) {
  static const char* const noColour = std::getenv("NO_COLOR");
  if (noColour != nullptr && *noColour != '\0') return false;
  static const bool shown[] = {IsColourTerminal(Stream::Output), IsColourTerminal(Stream::Error)};
  return shown[stream == Stream::Output ? 0 : 1];
}

bool IsTerminal() {
  static const bool isTerminal = isatty(STDOUT_FILENO) != 0;
  return isTerminal;
}

std::string ShownField(std::string text) {
  const auto isSeparator = [](char c) { return c == '\t' || c == '\n' || c == '\r'; };
  std::replace_if(text.begin(), text.end(), isSeparator, ' ');
  return text;
}

// A terminal gets no control characters.
std::string ToPrint(std::string_view utf8) {
  if (IsTerminal()) return Printable(utf8, "\t\n");
  const auto text = ToLocale(utf8);
  return text ? *text : Printable(utf8, "\t\n\r");
}

int logLevel = 0;

void ShowLogLine(void*, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) try {
  static std::size_t depth = 0; // of the traces
  const bool enters = kind == corekit::LogKind::TraceEnter, leaves = kind == corekit::LogKind::TraceLeave;
  if ((enters || leaves) && logLevel < 2) return;
  if (leaves && depth > 0) --depth;
  const std::string line = std::string(2 * depth, ' ') + (enters ? "> " : "") + (leaves ? "< " : "");
  if (enters) ++depth;
  const Colour colour = kind == corekit::LogKind::Error ? Colour::Red : Colour::Dim;
  std::string utf8;
  Ostrum::Utf8FromWide(std::wstring(component) + L": " + text, utf8);
  std::cerr << Coloured(Stream::Error, colour, line + Printable(utf8)) << '\n';
} catch (const std::exception&) { // a sink must not throw; a line that there is no memory for is lost
}

} // namespace

std::string Coloured(Stream stream, Colour colour, std::string_view text) {
  constexpr const char* sequences[] = {"\033[1;31m", "\033[32m", "\033[2m", "\033[1m"}; // in the colours' order
  std::string result(text);
  if (ShowsColours(stream)) result.insert(0, sequences[static_cast<int>(colour)]).append("\033[0m");
  return result;
}

void PrintValue(std::string_view value) { std::cout << ToPrint(value) << '\n'; }

void PrintState(Colour colour, std::string_view state) { std::cout << Coloured(Stream::Output, colour, state) << '\n'; }

void PrintJson(const nlohmann::ordered_json& value) {
  const std::string text = value.dump(2);
  std::cout << (IsTerminal() ? ToPrint(text) : text) << '\n';
}

void Table::Add(Row row) {
  if (!asJson && !IsTerminal()) {
    std::cout << ToPrint(Line(row)) << '\n';
    return;
  }
  widths.resize(row.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    widths[i] = std::max({widths[i], names[i]->size(), Width(ShownField(row[i].value_or("")))});
  }
  rows.push_back(std::move(row));
}

std::string Table::Line(const Row& row) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string field = ShownField(row[i].value_or(""));
    line += field;
    if (i + 1 == row.size()) break;
    line.append(IsTerminal() ? widths[i] + 2 - Width(field) : 1, IsTerminal() ? ' ' : '\t');
  }
  return line;
}

void Table::Finish() const {
  if (!asJson) {
    if (rows.size() > 0 && names.size() > 1)
      std::cout << Coloured(Stream::Output, Colour::Bold, ToPrint(Line(names))) << '\n';
    for (const Row& row : rows) std::cout << ToPrint(Line(row)) << '\n';
    return;
  }
  auto json = nlohmann::ordered_json::array();
  for (const Row& row : rows) {
    nlohmann::ordered_json& entry = json.emplace_back();
    for (std::size_t i = 0; i < row.size(); ++i) {
      (names.size() == 1 ? entry : entry[*names[i]]) = row[i] ? nlohmann::ordered_json(*row[i]) : nullptr;
    }
  }
  PrintJson(json);
}

void PrintMessage(std::string_view line) {
  std::cerr << Coloured(Stream::Error, Colour::Red, "tarvik:") << ' ' << Printable(line) << '\n';
}

void ShowLog(int level) {
  logLevel = level;
  if (level > 0) corekit::SetLogSink(ShowLogLine, nullptr);
}

void FlushOutput() {
  if (!std::cout.flush()) throw CommandError("standard output: cannot be written");
}
