// Printing. Only data goes to standard output, everything else to standard error. All text is
// UTF-8 here and printed in the user's character set.
#ifndef TARVIK_TOOLS_OUTPUT_H
#define TARVIK_TOOLS_OUTPUT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// User text, as system.h defines it, from and to UTF-8. If the text is not valid in its character
// set, throws UsageError about what has the name; if it cannot be represented, gives nothing.
std::string RequireUtf8(const std::string& userText, const std::string& name);
std::optional<std::string> FromUtf8(std::string_view utf8);
bool UserTextIsUtf8();

// Prints data and an end, by default a line ending. On a terminal, control characters are escaped.
// Throws CommandError for text that the user's character set lacks.
void Print(std::string_view utf8, std::string_view end = "\n");

// Prints the bytes of a file as they are.
void PrintBytes(std::string_view bytes);

using Json = nlohmann::ordered_json;
// Add members to it by emplace_back: all else looks for each among those before it.
using JsonObject = Json::object_t;
void PrintJson(const Json& json);

// A field for a line of tab-separated ones: tabs and line endings in it become blanks.
std::string Field(std::string text);

// The first of the items, at most that many, separated by commas, and the number of the others.
inline constexpr std::size_t maxListed = 10;
std::string Listed(const std::vector<std::string>& items);

// An argument as UTF-8. If it is not valid text, "?" stands for each byte beyond ASCII.
std::string Shown(std::string userText);

// Prints a line on standard error, with the command's name in front.
void PrintMessage(std::string_view line);
// The same about a file, which may be standard input. The text may begin with a place such as
// ":2:6".
void PrintMessage(const std::string& file, const std::string& text);
void PrintMessage(const std::string& file, const std::exception& why);

// Prints the library's log lines on standard error from now on; at level 2 also its traces.
void ShowLog(int level);

// False if anything could not be written.
bool FlushOutput();

#endif
