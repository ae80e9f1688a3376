#include "text/caller_buffer.h"

#include <gtest/gtest.h>

TEST(CallerBuffer, TruncatesAndLeavesTheRestAlone) {
  for (const auto& [capacity, result, stored] : {std::tuple(0U, -1, std::string(8, '#')),
                                                 {1U, -1, {"\0#######", 8}},
                                                 {5U, -1, {"abcd\0###", 8}},
                                                 {6U, 5, {"abcde\0##", 8}},
                                                 {8U, 5, {"abcde\0##", 8}}}) {
    std::string buffer(8, '#');
    EXPECT_EQ(FormatToBuffer(buffer.data(), capacity, {"ab", "cde", ""}), result);
    EXPECT_EQ(buffer, stored) << capacity;
  }
  char buffer[] = "overlap";
  CallerBuffer(buffer, sizeof buffer).Store(std::string_view(buffer + 1, 4));
  EXPECT_STREQ(buffer, "verl");
  EXPECT_FALSE(CallerBuffer(nullptr, 8).IsWanted() || CallerBuffer(buffer, 0).IsWanted());
}
