#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "platform/platform.h"

namespace {

TEST(SystemTest, DrawsDifferentNumbersAndSleepsLongEnough) {
  std::set<std::uint32_t> numbers;
  for (int i = 0; i < 8; ++i) {
    std::uint32_t number = 0;
    ASSERT_TRUE(platform::DrawRandom(number));
    numbers.insert(number);
  }
  EXPECT_GT(numbers.size(), 6U);

  const auto start = std::chrono::steady_clock::now();
  platform::Sleep(30);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(29));
}

} // namespace
