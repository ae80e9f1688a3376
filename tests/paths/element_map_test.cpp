#include "paths/element_map.h"

#include <gtest/gtest.h>

#include "registry/record.h"
#include "support/open_document.h"

namespace {

class ElementMapTest : public testing::Test {
 protected:
  // An element for an entry to refer to.
  Ostrum::Element Element(std::size_t number) const {
    return root.NthChild(Ostrum::NameMatch::Exact, "e", static_cast<std::uint32_t>(1 + number % 5));
  }

  const TestDocument document{"<r><e/><e/><e/><e/><e/></r>"};
  const Ostrum::Element root = document.list->files.front().document->GetRoot();
  ElementMap map;
};

TEST_F(ElementMapTest, FindsEachKeyByAllItsBytes) {
  const auto key = [](std::size_t i) { return i == 0 ? "" : "Item" + std::to_string(i * 7919); };
  for (std::size_t i = 0; i < 500; ++i) map.Insert(key(i), Element(i));
  for (std::size_t i = 0; i < 500; ++i) {
    for (const std::size_t found : {i, i / 2}) EXPECT_EQ(map.Find(key(found)), Element(found));
    EXPECT_TRUE(map.Find(key(i) + "x").IsNull());
  }
}

TEST_F(ElementMapTest, EntersTheKeysOfASet) {
  for (const char* present : {"a\\b", "a\\b\\c"}) map.Insert(present, Element(0));
  // Entries without an element count as none, and leave room for one.
  map.AddPrefixes("a\\b\\cX", {1, 6});
  EXPECT_TRUE(map.Find("a").IsNull());
  map.Insert("a\\b\\cX", Element(4));
  const auto numbers = map.AddPrefixes("a\\b\\c\\d=eeeeeeee", {1, 3, 5, 16});
  std::size_t element = 0;
  for (const std::uint32_t number : numbers) map.Enter(number, Element(++element), number != 2);
  using Row = std::pair<const char*, Ostrum::Element>;
  for (const auto& [key, found] :
       {Row("a", Element(1)), Row("a\\b", Element(2)), Row("a\\b\\c", Element(0)),
        Row("a\\b\\cX", Element(4)), Row("a\\b\\c\\d=eeeeeeee", Element(4)),
        Row("a\\b\\c\\d=eeeeeee", Ostrum::Element())}) {
    EXPECT_EQ(map.Find(key), found) << key;
  }
}

} // namespace
