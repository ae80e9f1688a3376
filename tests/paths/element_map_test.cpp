#include "paths/element_map.h"

#include <gtest/gtest.h>

#include <cstdlib>
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

  map->Replace(ElementMap::NewEntry("Package3"), child);
  map->Replace(ElementMap::NewEntry("New"), Ostrum::Element::null);
  EXPECT_EQ(&child, FindInElementMap(*map, "Package3"));
  EXPECT_EQ(&Ostrum::Element::null, FindInElementMap(*map, "New"));
  EXPECT_EQ(3u, map->Size());

  auto* const record = static_cast<XmlFileRecord*>(std::calloc(1, sizeof(XmlFileRecord)));
  record->elementMap = map;
  FreeXmlFile(record); // the leak check sees whether each reference goes once
}
