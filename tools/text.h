// Text is UTF-8 inside the command. It is converted from and to the locale's character set for
// arguments, for calls of the library, and for printing. Only data goes to standard output,
// everything else to standard error.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using Json = nlohmann::ordered_json;

// Sets the user's locale; UTF-8 if there is none or if it is "C", which has ASCII only.
void UseLocale();

// Nothing if the text is not valid in its character set or cannot be represented in the other.
std::optional<std::string> FromLocale(const std::string& text);
std::optional<std::string> ToLocale(std::string_view utf8);
bool HasForm(std::string_view utf8); // whether ToLocale succeeds

// Text for printing, in the locale's character set. Control characters, except those in `kept`, and
// characters that the locale lacks are written as escapes, such as "\u001b".
std::string Printable(std::string_view utf8, std::string_view kept = "");

// Prints the value and a line end. Control characters are escaped on a terminal.
void PrintValue(const std::string& value);
void PrintGood(const std::string& value, bool isGood); // green if it is good, else red

// Prints one JSON value, indented.
void PrintJson(const Json& value);

// Prints rows as they are added: either lines of tab-separated fields, for cut and awk, with tabs
// and line ends in a field replaced by blanks, and with a header on a terminal; or a JSON array, of
// strings if there is one field, else of objects.
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

// Prints a line on standard error, with the command's name in front.
void PrintMessage(const std::string& line);

// Prints the library's log lines on standard error from now on; at level 2 also its traces.
void ShowLog(int level);

// Flushes standard output. Throws CommandError if anything could not be written.
void FlushOutput();

#endif
