// What goes to the standard streams: data alone on standard output, everything else on standard error. All text is UTF-8.
#ifndef TARVIK_TOOLS_OUTPUT_H
#define TARVIK_TOOLS_OUTPUT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

// A bare value on a line of its own, without control characters on a terminal.
void PrintValue(const std::string& value);
void PrintGood(const std::string& value, bool isGood); // in green, or else in red

// One JSON value, indented.
void PrintJson(const Json& value);

// Rows of fields: lines of fields separated by tabs, ready for cut and awk, in which blanks stand for tabs and line ends; on a
// terminal under a head line; or JSON, an array of texts where there is one field, else of objects.
class Table {
 public:
  using Row = std::vector<std::optional<std::string>>;
  Table(bool printsJson, Row fieldNames) : asJson(printsJson), names(std::move(fieldNames)) {}

  void Add(const Row& row);
  void Finish() const; // REQUIRES: after the last row

 private:
  bool asJson;
  bool isEmpty = true;
  Row names;
  Json json = Json::array();
};

// A line on standard error, after the command's name.
void PrintMessage(const std::string& line);

// Shows the library's log lines on standard error from now on; at level 2 its traces too.
void ShowLog(int level);

// Hands on what is still buffered. Throws CommandError when standard output did not take everything.
void FlushOutput();

#endif
