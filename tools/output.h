// What goes to the standard streams: data alone on standard output, everything else on standard error.
#ifndef TARVIK_TOOLS_OUTPUT_H
#define TARVIK_TOOLS_OUTPUT_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal.h"

enum class Colour { Red, Green, Dim, Bold };

// text in a colour where the stream is a colour terminal and the environment does not set NO_COLOR; else text alone.
std::string Coloured(Stream stream, Colour colour, std::string_view text);

// A bare value on a line of its own; a terminal gets no control characters.
void PrintValue(std::string_view value);
void PrintState(Colour colour, std::string_view state);
// One JSON value, indented, as UTF-8.
void PrintJson(const nlohmann::ordered_json& value);

// Rows of fields: lines of fields separated by tabs, ready for cut and awk, in which blanks stand for tabs and line ends; on a
// terminal aligned, under a head line; or JSON, an array of texts where there is one field, else of objects.
class Table {
 public:
  using Row = std::vector<std::optional<std::string>>;
  Table(bool printsJson, Row fieldNames) : asJson(printsJson), names(std::move(fieldNames)) {}

  void Add(Row row);
  void Finish() const;

 private:
  std::string Line(const Row& row) const;

  bool asJson;
  Row names;
  std::vector<Row> rows; // kept until all are known
  std::vector<std::size_t> widths;
};

// A line on standard error, after the command's name.
void PrintMessage(std::string_view line);

// Shows the library's log lines on standard error from now on; at level 2 its traces too.
void ShowLog(int level);

// Hands on what is still buffered. Throws CommandError when standard output did not take everything.
void FlushOutput();

#endif
