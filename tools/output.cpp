#include "output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

#include "command_error.h"
#include "text.h"

namespace {

std::string_view Sequence(Colour colour) {
  switch (colour) {
    case Colour::Red:
      return "\033[1;31m";
    case Colour::Green:
      return "\033[32m";
    case Colour::Dim:
      return "\033[2m";
    case Colour::Bold:
      return "\033[1m";
  }
  return "";
}

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

std::size_t Width(std::string_view text) {
  std::size_t width = 0;
  ForEachCharacter(text, [&width](wchar_t, std::string_view, bool) { ++width; });
  return width;
}

// The widest field of each column but the last, which needs no padding.
std::vector<std::size_t> ColumnWidths(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths(rows.front().size(), 0);
  for (const auto& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
      widths[column] = std::max(widths[column], Width(row[column]));
    }
  }
  return widths;
}

std::string Line(const std::vector<std::string>& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    if (column > 0) line += widths.empty() ? "\t" : "  ";
    const std::string field = Shown(AsField(row[column]));
    line += field;
    const bool isPadded = !widths.empty() && column + 1 < row.size();
    if (isPadded) line.append(widths[column] - std::min(widths[column], Width(field)), ' ');
  }
  return line;
}

} // namespace

std::string Coloured(Stream stream, Colour colour, std::string_view text) {
  std::string result(text);
  if (ShowsColours(stream)) result.insert(0, Sequence(colour)).append("\033[0m");
  return result;
}

std::string Shown(std::string_view text) { return IsTerminal() ? Printable(text) : std::string(text); }

void PrintLine(std::string_view line) { std::cout << line << '\n'; }

void PrintValue(std::string_view value) {
  if (IsTerminal()) {
    PrintLine(Shown(value));
  } else {
    PrintLine(value);
  }
}

// A terminal that is not in UTF-8 gets ASCII, which JSON can do with.
void PrintJson(const nlohmann::ordered_json& value) {
  const bool inAscii = IsTerminal() && ToUtf8("\xC3\xA4") != "\xC3\xA4";
  PrintValue(value.dump(2, ' ', inAscii, nlohmann::ordered_json::error_handler_t::replace));
}

std::string AsField(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  return text;
}

void PrintTable(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  if (IsTerminal()) {
    std::vector<std::vector<std::string>> all = rows;
    all.push_back(head);
    widths = ColumnWidths(all);
    PrintLine(Coloured(Stream::Output, Colour::Bold, Line(head, widths)));
  }
  for (const auto& row : rows) PrintLine(Line(row, widths));
}

void PrintError(std::string_view line) {
  std::cerr << Coloured(Stream::Error, Colour::Red, "tarvik:") << ' ' << OnOneLine(line) << '\n';
}

void PrintNote(std::string_view line) { std::cerr << "tarvik: " << OnOneLine(line) << '\n'; }

void FlushOutput() {
  if (!std::cout.flush()) throw CommandError("standard output: cannot be written");
}
