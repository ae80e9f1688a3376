#include "paths/element_map.h"

#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"

namespace {

TEST(ElementMap, FindsEachKeyByAllItsBytes) {
  const Parsed parsed("<r><e0/><e1/><e2/><e3/><e4/></r>");
  const auto element = [&](std::size_t i) { return parsed.At("e" + std::to_string(i % 5)); };
  const auto key = [](std::size_t i) { return i == 0 ? "" : "Item" + std::to_string(i * 7919); };
  ElementMap map;
  for (std::size_t i = 0; i < 500; ++i) map.Insert(key(i), element(i));
  for (std::size_t i = 0; i < 500; ++i) {
    for (const std::size_t found : {i, i / 2}) EXPECT_EQ(map.Find(key(found)), element(found));
    EXPECT_TRUE(map.Find(key(i) + "x").IsNull());
  }

  // The keys of a call. Entries without an element count as none, and leave room for one.
  for (const char* present : {"a\\b", "a\\b\\c"}) map.Insert(present, element(0));
  map.AddPrefixes("a\\b\\cX", {1, 6});
  EXPECT_TRUE(map.Find("a").IsNull());
  map.Insert("a\\b\\cX", element(4));
  const std::size_t size = map.Size();
  const auto numbers = map.AddPrefixes("a\\b\\c\\d=eeeeeeee", {1, 3, 5, 16});
  EXPECT_EQ(map.Size(), size + 1); // the last one
  for (std::size_t i = 0; i < 4; ++i) map.Enter(numbers[i], element(i + 1), i != 2);
  std::string found;
  for (const char* each : {"a", "a\\b", "a\\b\\c", "a\\b\\cX", "a\\b\\c\\d=eeeeeeee"})
    found += map.Find(each).GetName();
  EXPECT_EQ(found, "e1e2e0e4e4");
  EXPECT_TRUE(map.Find("a\\b\\c\\d=eeeeeee").IsNull());
}

} // namespace
