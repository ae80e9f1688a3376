#include <gtest/gtest.h>

#include <cstdlib>

#include "ostrumxml/both_readers.h"

namespace {

std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

// Compares other documents or more of them if told by the environment.
TEST(Readers, AgreeOnGeneratedDocuments) {
  const std::uint64_t first = Setting("TARVIK_FIRST_DOCUMENT", 1);
  const std::uint64_t count = Setting("TARVIK_DOCUMENTS", 100'000);
  std::uint64_t readPlainly = 0;
  for (std::uint64_t number = first; number < first + count; ++number) {
    const std::string text = DocumentWriter(number).Write();
    const Comparison comparison = CompareReaders(text);
    ASSERT_NE(comparison, Comparison::Different) << "document " << number << ":\n" << text;
    if (comparison == Comparison::ReadPlainly) ++readPlainly;
  }
  EXPECT_GT(readPlainly, count / 5);
}

} // namespace
