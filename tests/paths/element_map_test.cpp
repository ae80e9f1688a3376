#include "paths/element_map.h"

#include <gtest/gtest.h>

#include "registry/file_list.h"
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
  std::size_t number = 0;
  ElementMap::KeyChain keys(map, 20);
  for (const auto& [part, isEntered] :
       {std::pair("a", false), {"\\b", true}, {"\\c", true}, {"\\d=eeeeeeee", false}}) {
    keys.Append(part);
    EXPECT_EQ(keys.IsEntered(), isEntered) << part;
    keys.Prepare();
    keys.Prepare(); // an entry that is not entered leaves nothing
    keys.Enter(Element(++number));
  }
  keys.Append("f");
  { ElementMap::KeyChain(map, 9).Prepare(); }
  map.Insert("last", Element(4));
  EXPECT_EQ(map.Size(), 5U);
  using Row = std::pair<const char*, Ostrum::Element>;
  for (const auto& [key, element] :
       {Row("a", Element(1)), Row("a\\b", Element(2)), Row("a\\b\\c", Element(3)),
        Row("last", Element(4)), Row("a\\b\\c\\d=eeeeeeee", Element(4)),
        Row("a\\b\\c\\d=eeeeeeeef", Ostrum::Element())}) {
    EXPECT_EQ(map.Find(key), element) << key;
  }
}

} // namespace
