#include "output.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>

#include "command_error.h"

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

std::string OnOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  return text;
}

// The widest field of each column but the last, which needs no padding.
std::vector<std::size_t> ColumnWidths(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths(rows.front().size(), 0);
  for (const auto& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
  return widths;
}

std::string Line(const std::vector<std::string>& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    if (column > 0) line += widths.empty() ? "\t" : "  ";
    line += OnOneLine(row[column]);
    if (!widths.empty() && row[column].size() < widths[column]) line.append(widths[column] - row[column].size(), ' ');
  }
  return line;
}

} // namespace

std::string Coloured(Stream stream, Colour colour, std::string_view text) {
  std::string result(text);
  if (ShowsColours(stream)) result.insert(0, Sequence(colour)).append("\033[0m");
  return result;
}

void PrintValue(std::string_view value) { std::cout << value << '\n'; }

void PrintJson(const nlohmann::ordered_json& value) {
  std::cout << value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

void PrintTable(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  if (IsColourTerminal(Stream::Output)) {
    std::vector<std::vector<std::string>> all = rows;
    all.push_back(head);
    widths = ColumnWidths(all);
    PrintValue(Coloured(Stream::Output, Colour::Bold, Line(head, widths)));
  }
  for (const auto& row : rows) PrintValue(Line(row, widths));
}

void PrintError(std::string_view line) {
  std::cerr << Coloured(Stream::Error, Colour::Red, "tarvik:") << ' ' << line << '\n';
}

void FlushOutput() {
  if (!std::cout.flush()) throw CommandError("standard output: cannot be written");
}
