#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "text/convert.h"

namespace {

struct Case {
  std::size_t capacity;
  std::string text;
  std::string stored;
  int result;
};

} // namespace

TEST(FormatToBuffer, CutsToTheCapacity) {
  const Case cases[] = {
      {10, "123456789", "123456789", 9},
      {10, "1234567890", "123456789", -1},
      {10, std::string(5000, 'x'), "xxxxxxxxx", -1},
      {1, "", "", 0},
      {1, "a", "", -1},
      {2, "\xC3\xA9", "\xC3", -1},
  };
  for (const Case& it : cases) {
    std::string buffer(it.capacity + 1, '#');
    EXPECT_EQ(it.result, FormatToBuffer(buffer.data(), it.capacity, "%s", it.text.c_str()));
    EXPECT_EQ(it.stored, buffer.c_str());
    EXPECT_EQ('#', buffer[it.capacity]) << "written behind the capacity";
  }
}

TEST(FormatToBuffer, LeavesTheRestAlone) {
  char buffer[] = "########";
  EXPECT_EQ(2, FormatToBuffer(buffer, sizeof buffer, "%s", "ab"));
  EXPECT_EQ(std::string("ab\0#####", 8), std::string(buffer, 8));
  EXPECT_LT(FormatToBuffer(buffer, 0, "%s", "xyz"), 0);
  EXPECT_STREQ("ab", buffer);
}

TEST(FormatToBuffer, JoinsTextsAndNumbers) {
  const auto format = [](std::size_t capacity, auto... arguments) {
    std::string buffer(capacity, '#');
    const int result = FormatToBuffer(buffer.data(), capacity, arguments...);
    return std::to_string(result) + ":" + buffer.c_str();
  };
  EXPECT_EQ("6:Item12", format(20, "%s%d", "Item", 12));
  EXPECT_EQ("-1:Item1", format(6, "%s%d", "Item", 12));
  EXPECT_EQ("12:a-2147483648", format(20, "%s%d", "a", INT_MIN));
  EXPECT_EQ("3:a\\b", format(20, "%s\\%s", "a", "b"));
  EXPECT_EQ("3:a\\b", format(4, "%s\\%s", "a", "b"));
  EXPECT_EQ("-1:ab", format(3, "%s\\%s", "ab", "c"));
  EXPECT_EQ("7:50% of8", format(20, "%d%% of%u", 50, 8u));
  EXPECT_EQ("-1:00", format(3, "%03d", 7));
}
