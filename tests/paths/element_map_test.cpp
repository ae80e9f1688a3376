#include "paths/element_map.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "paths/parsed.h"
#include "registry/file_list.h"

TEST(ElementMapEntries, StayUntilTheyAreReplaced) {
  const auto document = Parse("<a><b/></a>");
  Ostrum::Element& root = document->GetRoot();
  Ostrum::Element& child = *root.Begin();
  auto* const map = new ElementMap;
  InsertIntoElementMap(*map, "Package3", root);
  InsertIntoElementMap(*map, "package3", child);
  InsertIntoElementMap(*map, "Package3", child);
  EXPECT_EQ(&root, FindInElementMap(*map, "Package3"));
  EXPECT_EQ(&child, FindInElementMap(*map, "package3"));
  EXPECT_EQ(nullptr, FindInElementMap(*map, "Package"));

  map->Replace(ElementMap::NewEntry(*map, "Package3"), child);
  map->Replace(ElementMap::NewEntry(*map, "New"), Ostrum::Element::null);
  EXPECT_EQ(&child, FindInElementMap(*map, "Package3"));
  EXPECT_EQ(&Ostrum::Element::null, FindInElementMap(*map, "New"));
  EXPECT_EQ(3u, map->Size());

  auto* const record = static_cast<XmlFileRecord*>(std::calloc(1, sizeof(XmlFileRecord)));
  record->elementMap = map;
  FreeXmlFile(record); // the leak check sees whether each reference goes once
}

// What was searched last must never stand in for another key, in whatever order keys come.
TEST(ElementMapEntries, AreFoundInAnyOrder) {
  const auto document = Parse("<a><b/></a>");
  Ostrum::Element* const elements[] = {&document->GetRoot(), &*document->GetRoot().Begin()};
  std::map<std::string, Ostrum::Element*> expected;
  ElementMap map;
  std::minstd_rand random;
  for (unsigned step = 0; step < 5'000; ++step) {
    const bool inOrder = step % 1'000 < 500;
    const std::string key = "Item" + std::to_string(inOrder ? step % 1'000 : random() % 1'000);
    Ostrum::Element* const element = elements[random() % 2];
    const auto known = expected.find(key);
    ASSERT_EQ(known == expected.end() ? nullptr : known->second, FindInElementMap(map, key)) << key;
    switch (random() % 4) {
      case 0:
        InsertIntoElementMap(map, key, *element);
        expected.try_emplace(key, element);
        break;
      case 1:
        map.Replace(ElementMap::NewEntry(map, key), *element);
        expected[key] = element;
        break;
      default:
        break;
    }
    ASSERT_EQ(expected.size(), map.Size());
  }
}
