// Strings for tests.
#ifndef TARVIK_TESTS_SUPPORT_TEXT_H
#define TARVIK_TESTS_SUPPORT_TEXT_H

#include <string>
#include <string_view>
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

#endif
