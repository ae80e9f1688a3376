// Several strings in one literal.
#ifndef TARVIK_TESTS_SUPPORT_SPLIT_H
#define TARVIK_TESTS_SUPPORT_SPLIT_H

#include <string_view>
#include <vector>

inline std::vector<std::string_view> Split(std::string_view text, char separator = '|') {
  std::vector<std::string_view> parts;
  for (std::size_t end = 0; (end = text.find(separator)) != text.npos; text.remove_prefix(end + 1))
    parts.push_back(text.substr(0, end));
  parts.push_back(text);
  return parts;
}

#endif
