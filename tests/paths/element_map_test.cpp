#include "paths/element_map.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "ostrumxml/parsed_document.h"

// What was searched last must never stand in for another key, in whatever order keys come.
TEST(ElementMapEntries, AreFoundInAnyOrder) {
  const Parsed parsed("<a><b/></a>");
  Ostrum::Element* const elements[] = {&parsed.At(""), &parsed.At("b")};
  std::map<std::string, Ostrum::Element*> expected;
  ElementMap map;
  std::minstd_rand random;
  for (unsigned step = 0; step < 5'000; ++step) {
    const bool inOrder = step % 1'000 < 500;
    const std::string key = (random() % 2 == 0 ? "Item" : "item") + std::to_string((inOrder ? step : random()) % 1'000);
    Ostrum::Element* const element = elements[random() % 2];
    const auto known = expected.find(key);
    ASSERT_EQ(FindInElementMap(map, key), known == expected.end() ? nullptr : known->second) << key;
    const unsigned action = random() % 4;
    if (action == 0) { // what is there stays
      InsertIntoElementMap(map, key, *element);
      expected.try_emplace(key, element);
    } else if (action == 1) {
      map.Replace(ElementMap::NewEntry(map, key), *element);
      expected[key] = element;
    }
    ASSERT_EQ(map.Size(), expected.size());
  }
}
