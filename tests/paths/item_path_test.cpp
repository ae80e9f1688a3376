#include "paths/item_path.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "paths/parsed.h"
#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"

using Lines = std::vector<std::string>;

TEST(ReturnTokenFromString, CutsAtTheFirstSeparator) {
  const struct {
    const char* source;
    std::uint32_t capacity;
    const char* separator;
    const char* token;
    const char* rest;
  } cases[] = {
      {"a\\b\\c", 9, "\\", "a", "b\\c"}, {"a\\", 9, "\\", "a", ""},           {"\\a", 9, "\\", "", "a"},
      {"abc", 9, "\\", "abc", nullptr},  {"abcdef", 4, "\\", "abc", nullptr}, {"abc", 4, "\\", "abc", nullptr},
      {"abc\\d", 3, "\\", "", "d"},      {"abc\\d", 4, "\\", "abc", "d"},     {"a&&b", 9, "&&", "a", "b"},
      {"a&b", 9, "&&", "a&b", nullptr},  {"", 9, "\\", "", nullptr},          {nullptr, 9, "\\", "", nullptr},
      {"a", 1, "\\", "", nullptr},
  };
  LogLines log;
  for (const auto& it : cases) {
    char token[10];
    std::memset(token, '#', sizeof token);
    EXPECT_STREQ(it.rest, ReturnTokenFromString(it.source, token, it.capacity, it.separator));
    EXPECT_STREQ(it.token, token);
    EXPECT_EQ('#', token[it.capacity]) << "written behind the capacity";
    const bool empty = it.source == nullptr || *it.source == '\0';
    EXPECT_EQ(empty ? Lines{"Source token is NULL or empty"} : Lines{}, log.Take());
  }
  char untouched = '#';
  EXPECT_STREQ("b", ReturnTokenFromString("a\\b", &untouched, 0, "\\"));
  EXPECT_EQ(nullptr, ReturnTokenFromString("ab", &untouched, 0, "\\"));
  EXPECT_EQ('#', untouched);
}

TEST(IsRootInPath, ComparesBytesFromTheStart) {
  const auto document = Parse("<Catalog/>");
  XmlFileRecord record{};
  record.document = document.get();
  LogLines log;
  for (const std::string path : {"Catalog", "Catalog\\ProductPackage", "CatalogBackup\\X"}) {
    EXPECT_EQ(1, IsRootInPath(record, path.c_str()));
    EXPECT_EQ(Lines{path + " is a group"}, log.Take());
  }
  for (const std::string path : {"catalog\\ProductPackage", "ProductPackage", "X\\Catalog", "Catalo", ""}) {
    EXPECT_EQ(0, IsRootInPath(record, path.c_str()));
    EXPECT_EQ(Lines{path + " is a group ID"}, log.Take());
  }
}

TEST(IsRootInPath, TakesANameThatTheLocaleCannotHoldForNoRoot) {
  const auto document = Parse("<\u00e9/>");
  XmlFileRecord record{};
  record.document = document.get();
  const LocaleGuard locale("C");
  LogLines log;
  EXPECT_EQ(0, IsRootInPath(record, "\u00e9"));
  const Lines lines = log.Take();
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ("Unicode to multi-byte conversion returned NULL", lines[1]);
}

TEST(RemoveRootFromBeginningOfPath, DropsTheFirstComponent) {
  const std::string longName(600, 'r'); // beyond the room in place
  const struct {
    std::string path;
    std::uint32_t capacity;
    std::string output;
    std::string removed;
  } cases[] = {
      {"Catalog\\ProductPackage\\LangPackage", 260, "ProductPackage\\LangPackage", "Catalog"},
      {"Catalog", 260, "", "Catalog"},
      {"Catalog\\", 260, "", "Catalog"},
      {"Catalog\\\\X", 260, "\\X", "Catalog"},
      {"Catalog\\ProductPackage", 5, "Prod", "Catalog"},
      {"Catalog\\P", 1, "", "Catalog"},
      {longName + "\\P", 260, "P", longName},
      {"r\\" + longName, 260, longName.substr(0, 259), "r"},
  };
  LogLines log;
  for (const auto& it : cases) {
    char output[261];
    std::memset(output, '#', sizeof output);
    RemoveRootFromBeginningOfPath(it.path.c_str(), output, it.capacity);
    EXPECT_EQ(it.output, output);
    EXPECT_EQ('#', output[it.capacity]) << "written behind the capacity";
    EXPECT_EQ(Lines{"Removed " + it.removed + " from " + it.path + "."}, log.Take());
  }

  char untouched = '#';
  RemoveRootFromBeginningOfPath("a\\b", &untouched, 0);
  RemoveRootFromBeginningOfPath("a\\b", nullptr, 9);
  EXPECT_EQ('#', untouched);
  EXPECT_EQ((Lines{"Buffer is NULL or size is <= 0", "Buffer is NULL or size is <= 0"}), log.Take());
}
