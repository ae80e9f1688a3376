// Text between the character sets that the command meets: the locale's, in which the library speaks, wide, and UTF-8.
#ifndef TARVIK_TOOLS_TEXT_H
#define TARVIK_TOOLS_TEXT_H

#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

// Takes the user's locale; where there is none, or only "C", whose character set is ASCII, UTF-8.
void UseLocale();

// Calls visit(character, bytes, isValid) for each character of a text in the locale's character set. A byte that begins no
// valid character comes alone, as U+FFFD.
template <class Visit>
void ForEachCharacter(std::string_view text, Visit visit) {
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    const bool isValid = length <= text.size();
    if (!isValid) {
      state = {};
      character = 0xFFFD;
    }
    if (!isValid || length == 0) length = 1;
    visit(character, text.substr(0, length), isValid);
    text.remove_prefix(length);
  }
}

// Whether all of the text is valid in the locale's character set.
bool IsText(std::string_view text);

std::wstring ToWide(std::string_view text);

// For JSON, and for what goes into a document.
std::string ToUtf8(std::string_view text);

// A character that the locale lacks is written "\u20ac".
std::string ToLocale(std::wstring_view text);

std::string FromUtf8(std::string_view text);

// Nothing where the text has no form in the locale's character set.
std::optional<std::string> ToLocaleExactly(std::wstring_view text);

// Text that a terminal can be given: control characters, except tabs and line ends, and invalid bytes are written "\u001b".
std::string Printable(std::string_view text);

// The same on one line, for messages.
std::string OnOneLine(std::string_view text);

#endif
