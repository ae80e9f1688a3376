// Text is UTF-8 inside the command. It meets the locale's character set where arguments come in, where the library is called, and
// where it is printed: data alone on standard output, everything else on standard error.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using Json = nlohmann::ordered_json;

// Takes the user's locale; where there is none, or only "C", whose character set is ASCII, UTF-8.
void UseLocale();

// Nothing where the text is not valid in its character set, or has no form in the other.
std::optional<std::string> FromLocale(const std::string& text);
std::optional<std::string> ToLocale(std::string_view utf8);
bool HasForm(std::string_view utf8); // in the locale

// Text to be printed: control characters but those kept, and what the locale lacks, are written "\u001b".
std::string Printable(std::string_view utf8, std::string_view kept = "");

// A bare value on a line of its own, without control characters on a terminal.
void PrintValue(const std::string& value);
void PrintGood(const std::string& value, bool isGood); // in green, or else in red

// One JSON value, indented.
void PrintJson(const Json& value);

// Rows of fields, printed as they come: lines of fields separated by tabs, ready for cut and awk, in which blanks stand for tabs
// and line ends; on a terminal under a head line; or JSON, an array of texts where there is one field, else of objects.
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
};

// A line on standard error, after the command's name.
void PrintMessage(const std::string& line);

// Shows the library's log lines on standard error from now on; at level 2 its traces too.
void ShowLog(int level);

// Hands on what is still buffered. Throws CommandError when standard output did not take everything.
void FlushOutput();

#endif
