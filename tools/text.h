// Text between the character sets that the command meets: the locale's, in which the library speaks, wide, and UTF-8.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <cwchar>
#include <string>
#include <string_view>

// Takes the user's locale; where there is none, or only "C", whose character set is ASCII, UTF-8.
void UseLocale();
bool LocaleIsUtf8();

// Calls visit(character, bytes, isValid) for each character of a text in the locale's character set. A byte that begins no
// valid character comes alone, as U+FFFD.
template <class Visit>
void ForEachCharacter(std::string_view text, Visit visit) {
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    const bool isValid = length <= text.size();
    if (!isValid) character = 0xFFFD;
    if (!isValid) state = {};
    if (!isValid || length == 0) length = 1;
    visit(character, text.substr(0, length), isValid);
    text.remove_prefix(length);
  }
}

std::size_t Width(std::string_view text); // in characters
// Whether all of the text is valid in the locale's character set.
bool IsText(std::string_view text);

std::wstring ToWide(std::string_view text);
std::string ToUtf8(std::string_view text);

// A character that the locale lacks is written "\u20ac", and isExact set to false.
std::string ToLocale(std::wstring_view text, bool* isExact = nullptr);
std::string FromUtf8(std::string_view text, bool* isExact = nullptr);

// Text that a terminal can be given: control characters, except tabs and line ends, and invalid bytes are written "\u001b".
std::string Printable(std::string_view text);
// The same without tabs and line ends, for messages.
std::string OnOneLine(std::string_view text);

#endif
