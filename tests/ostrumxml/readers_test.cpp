#include <gtest/gtest.h>

#include <cstdlib>

#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/both_readers.h"
#include "ostrumxml/grammar.h"

namespace {

std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

std::string Damaged(std::string text, Grammar& grammar) {
  const std::size_t place = grammar.Below(text.size() + 1), other = grammar.Below(text.size() + 1);
  const std::uint32_t kind = grammar.Below(6);
  if (kind == 0) text.erase(place, 1 + grammar.Below(3));
  if (kind == 1) text.erase(place, other);
  if (kind == 2) text.resize(place);
  if (kind == 3) text.insert(place, text.substr(other, grammar.Below(40)));
  if (kind > 3) text.insert(place, grammar.Write("part"));
  return text;
}

// Compares other documents or more of them if told by the environment.
TEST(Readers, AgreeOnGeneratedDocuments) {
  const std::uint64_t first = Setting("TARVIK_FIRST_DOCUMENT", 1);
  const std::uint64_t count = Setting("TARVIK_DOCUMENTS", 100'000);
  std::uint64_t readPlainly = 0;
  for (std::uint64_t number = first; number < first + count; ++number) {
    Grammar grammar(number);
    std::string text = grammar.Write("document");
    for (std::uint32_t times = grammar.Below(4); times > 0; --times) text = Damaged(text, grammar);
    if (!Ostrum::IsUtf8(text)) continue;
    const Comparison comparison = CompareReaders(text);
    ASSERT_NE(comparison, Comparison::Different) << "document " << number << ":\n" << text;
    if (comparison == Comparison::ReadPlainly) ++readPlainly;
  }
  EXPECT_GT(readPlainly, count / 5);
}

} // namespace
