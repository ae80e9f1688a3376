// Strings for tests.
#ifndef TARVIK_TESTS_SUPPORT_TEXT_H
#define TARVIK_TESTS_SUPPORT_TEXT_H

#include <algorithm>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The parts of a literal that holds several strings.
inline std::vector<std::string_view> Split(std::string_view text, char separator = '|') {
  std::vector<std::string_view> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != text.npos; text.remove_prefix(end + 1))
    parts.push_back(text.substr(0, end));
  parts.push_back(text);
  return parts;
}

// The text so many times, with "@" replaced by 0, 1, 2, ...
inline std::string Repeat(const std::string& text, std::size_t count) {
  const std::size_t place = text.find('@');
  std::string all;
  for (std::size_t i = 0; i < count; ++i) {
    all += text;
    if (place != text.npos) all.replace(all.size() - text.size() + place, 1, std::to_string(i));
  }
  return all;
}

// A line of a script before and after the first separator.
inline std::pair<std::string, std::string> SplitAt(const std::string& text,
                                                   const std::string& separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  return {text.substr(0, end), text.substr(std::min(end + separator.size(), text.size()))};
}

// Replaces "\x" and two hexadecimal digits by a byte and, if wanted, "\n", "\r", "\t", "\0" and
// "\\". Other backslashes stand for themselves.
inline std::string Unescape(std::string text, bool hasLetters = false) {
  static const std::regex bytes("\\\\(x[0-9A-Fa-f]{2})"), all("\\\\(x[0-9A-Fa-f]{2}|[nrt0\\\\])");
  constexpr std::string_view letters = "nrt0\\", meant("\n\r\t\0\\", 5);
  std::string unescaped;
  for (std::smatch match; std::regex_search(text, match, hasLetters ? all : bytes);) {
    const std::string code = match[1];
    unescaped += match.prefix();
    unescaped += code[0] == 'x' ? static_cast<char>(std::stoi(code.substr(1), nullptr, 16))
                                : meant[letters.find(code)];
    text = match.suffix().str();
  }
  return unescaped + text;
}

// Replaces "{text*3}" by "texttexttext".
inline std::string ExpandRepeats(std::string text) {
  static const std::regex repeated("\\{([^{}]*)\\*(\\d+)\\}");
  for (std::smatch match; std::regex_search(text, match, repeated);)
    text = match.prefix().str() + Repeat(match[1], std::stoul(match[2])) + match.suffix().str();
  return text;
}

#endif
