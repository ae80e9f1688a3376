// A document made from a text.
#ifndef TARVIK_TESTS_PATHS_PARSED_H
#define TARVIK_TESTS_PATHS_PARSED_H

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/ostrumxml/parse.h"

inline std::unique_ptr<Ostrum::Document> Parse(std::string utf8) {
  std::size_t length = 0;
  for (const char byte : utf8)
    length += (static_cast<unsigned char>(byte) & 0xC0) != 0x80; // none beyond 16 bits in tests
  Ostrum::PARSER_ERROR error{};
  int line = 0;
  int column = 0;
  Ostrum::DocumentText text(std::move(utf8), length);
  Ostrum::Document* const document = Ostrum::ParseXML(std::move(text), static_cast<int>(length), error, line, column);
  if (document == nullptr) throw std::runtime_error("line " + std::to_string(line) + " of the test's document");
  return std::unique_ptr<Ostrum::Document>(document);
}

#endif
