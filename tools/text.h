// Text is UTF-8 inside the command. It meets the locale's character set where the library is called and where it is printed.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <optional>
#include <string>
#include <string_view>

// Takes the user's locale; where there is none, or only "C", whose character set is ASCII, UTF-8.
void UseLocale();

// Nothing where the text is not valid in its character set, or has no form in the other.
std::optional<std::string> FromLocale(const std::string& text);
std::optional<std::string> ToLocale(std::string_view utf8);
bool HasForm(std::string_view utf8); // in the locale

// Text to be printed: control characters but those kept, and what the locale lacks, are written "\u001b".
std::string Printable(std::string_view utf8, std::string_view kept = "");

#endif
