// Random texts by the rules of scripts/grammar.txt: the same for the same seed on every machine.
#ifndef TARVIK_TESTS_OSTRUMXML_GRAMMAR_H
#define TARVIK_TESTS_OSTRUMXML_GRAMMAR_H

#include <cstdint>
#include <fstream>
#include <map>
#include <random>

#include "support/text.h"

class Grammar {
 public:
  explicit Grammar(std::uint64_t seed) : random(seed) {}

  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); }

  std::string Write(const std::string& rule) {
    static const Rules rules = ReadRules();
    if (rule[0] == '*') return std::string(Below(40), rule[1]);
    const std::vector<Parts>& texts = rules.at(rule);
    const Parts& parts = texts[Below(texts.size())];
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) text += i % 2 == 0 ? parts[i] : Write(parts[i]);
    return text;
  }

 private:
  using Parts = std::vector<std::string>; // every second one is a rule's name
  using Rules = std::map<std::string, std::vector<Parts>>;

  static Rules ReadRules() {
    Rules rules;
    std::ifstream stream(SCRIPTS "/grammar.txt");
    for (std::string line; std::getline(stream, line);) {
      auto [name, texts] = SplitAt(Unescape(line, true), " ");
      std::ranges::replace(texts, '}', '{');
      for (const std::string_view text : Split(texts)) {
        const auto parts = Split(text, '{');
        rules[name].emplace_back(parts.begin(), parts.end());
      }
    }
    return rules;
  }

  std::mt19937_64 random;
};

#endif
