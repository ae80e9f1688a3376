// Text between the character sets that the command meets: the locale's, in which the library speaks, wide, and UTF-8.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <string>
#include <string_view>
#include <vector>

// Wide text in the locale's character set. A character that it lacks becomes "?".
std::string ToLocale(std::wstring_view text);

// The locale's text as UTF-8, which JSON requires. A byte that is no character becomes U+FFFD.
std::string ToUtf8(std::string_view text);

// The parts of text between the separators, empty ones included; at least one. Knows character sets in which the second
// byte of a character can equal the separator.
std::vector<std::string> Split(std::string_view text, char separator);

#endif
