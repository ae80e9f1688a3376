// JSON: objects of paths and values.
#ifndef TARVIK_TOOLS_JSON_H
#define TARVIK_TOOLS_JSON_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A string of JSON, with quotes.
std::string JsonText(std::string_view utf8);

// A member of an object whose value is a string.
std::string JsonMember(std::string_view name, std::string_view value);

// Reads an object whose values are strings, numbers, true or false, in the order and the form in
// which they are written. Throws std::invalid_argument with the reason for anything else.
std::vector<std::pair<std::string, std::string>> ParseJsonObject(const std::string& text);

#endif
