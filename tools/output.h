// Printing. Only data goes to standard output, everything else to standard error. All text is
// UTF-8 here and printed in the user's character set.
#ifndef TARVIK_TOOLS_OUTPUT_H
#define TARVIK_TOOLS_OUTPUT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Text for people: control characters, except those in `kept`, and characters that the user's
// character set lacks are written as escapes, such as "\u001b".
std::string Printable(std::string_view utf8, std::string_view kept = {});

// Prints data and an end, by default a line ending. On a terminal, control characters are escaped.
// Throws CommandError for text that the user's character set lacks.
void Print(std::string_view utf8, std::string_view end = "\n");
void PrintGood(std::string_view utf8, bool isGood); // green if it is good, else red

// Prints the bytes of a file as they are.
void PrintBytes(std::string_view bytes);

// Prints the members, which are JSON, a line each, between the brackets. In a character set other
// than UTF-8, characters beyond ASCII are escaped.
void PrintJson(const std::vector<std::string>& members, std::string_view brackets = "{}");

// A line of tab-separated fields, for cut and awk: tabs and line endings in a field become blanks.
using Row = std::vector<std::string>;
std::string RowText(const Row& row);
// Prints the names of the fields, if output is a terminal.
void PrintHeader(const Row& names);

// The first of the items, at most that many, separated by commas, and the number of the others.
inline constexpr std::size_t maxListed = 10;
std::string Listed(const std::vector<std::string>& items);

// A line about a file: its name, if there is one, and the text, which may begin with a place such
// as ":2:6".
std::string AfterFile(std::string_view shownFile, std::string_view text);

// Prints a line on standard error, with the command's name in front.
void PrintMessage(std::string_view line);

// Prints the library's log lines on standard error from now on; at level 2 also its traces.
void ShowLog(int level);

// Throws CommandError if anything could not be written.
void FlushOutput();

#endif
