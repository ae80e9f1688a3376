#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <regex>

#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "support/text.h"

using Lines = std::vector<std::string>;

// The answer, for example "0 P2".
std::string Open(const TestDocument& document, const std::string& parent, const std::string& path,
                 std::uint32_t occurrence = 1, std::uint32_t capacity = 400) {
  return Answer(parent, [&](char* buffer) {
    return EnumXMLGroup(document.list, document.cookie, path.c_str(), occurrence, buffer, capacity);
  });
}
// The attribute "id" of the element under the key that an answer gives.
std::string IdOf(const TestDocument& document, const std::string& answer) {
  const auto element = document.list->files.front().elementMap->Find(answer.substr(2));
  return element.IsNull() ? "none" : element.GetAttribute("id").GetValue();
}

const char* const catalog =
    "<Catalog>text<P id='1'><L id='2'/><L id='3'><S id='4' Name='E'/></L></P><!-- c -->"
    "<P id='5'><L id='6'/></P><Item id='7'/><Item1 id='8'/><Item id='9'/><S id='10'/>"
    "<S id='11' Name='EngineFileOld'><T id='12'/></S>"
    "<S id='13' Name='EngineFile' b='x=y'/></Catalog>";

const struct {
  std::string parent, path;
  std::uint32_t occurrence;
  std::string answer; // and the attribute "id" of the element that is then known by the ID
  std::string steps;  // the lines after those about the list and the path's root, in short
  std::uint32_t capacity = 400;
} searches[] = {
    // The root's name is removed, also below a parent, with everything up to the separator.
    {"", "Catalog\\P", 1, "0 P = 1", "Removed Catalog from Catalog\\P.|selected P|inserted P"},
    {"", "CatalogX\\P", 1, "0 P = 1", "Removed CatalogX from CatalogX\\P.|known P"},
    {"P", "Catalog\\L", 2, "0 P\\L2 = 3",
     "Removed Catalog from Catalog\\L.|selected L2|inserted P\\L2"},
    {"", "catalog\\P", 1, "3 Not Found = none", "missing catalog\\P|absent catalog\\P"},
    {"", "Catalog", 1,
     "0 Catalog = ", "Removed Catalog from Catalog.|Only the root was given as a group path."},
    {"P", "Catalog\\", 1, "0 Catalog\\ = none",
     "Removed Catalog from Catalog\\.|Only the root was given as a group path."},
    {"P", "", 1, "0  = none", "Only the root was given as a group path."},
    // Elements are counted by prefix, whether those of one name are adjacent or not.
    {"", "P", 2, "0 P2 = 5", "selected P2|inserted P2"},
    {"", "P", 3, "3 Not Found = none", "missing P|absent P"},
    {"", "Item", 0, "3 Not Found = none", "missing Item|absent Item"},
    {"", "Item", 2, "0 Item2 = 8", "selected Item2|inserted Item2"},
    {"", "Item", 3, "0 Item3 = 9", "selected Item3|inserted Item3"},
    {"", "Item3", 1, "0 Item3 = 9", "known Item3"},
    {"", "\\", 1, "0 \\ = 2", "entered |Source token is NULL or empty|selected |inserted \\"},
    // Only children of the first match are searched. A leaf matches itself.
    {"P2", "L", 1, "0 P2\\L = 6", "selected L|inserted P2\\L"},
    {"P9", "L", 1, "3 Not Found = none", "absent P9"},
    {"", "P\\L\\S", 1, "3 Not Found = none", "entered P|entered L|absent P\\L\\S"},
    {"", "P\\L", 1, "0 P\\L = 2", "entered P|selected L|inserted P\\L"},
    {"", "P\\L\\L", 7, "0 P\\L\\L7 = 2", "entered P|entered L|inserted P\\L\\L7"},
    {"P", "P\\L", 1, "3 Not Found = none", "missing P\\L|absent P\\L"},
    {"", "P\\L", 3, "3 Not Found = none", "entered P|missing L|absent P\\L"},
    {"", "P\\X\\Y", 1, "3 Not Found = none", "entered P|missing X\\Y|absent P\\X\\Y"},
    // An attribute filter selects the first match, whatever the number.
    {"P\\L2", "S&Name=E", 3, "0 P\\L2\\S&Name=E3 = 4", "filtered E|inserted P\\L2\\S&Name=E3"},
    {"", "S&Name=", 4294967295U, "0 S&Name=-1 = 11", "filtered |inserted S&Name=-1"},
    {"", "S&Name=E\\T", 1, "0 S&Name=E\\T = 12", "filtered E|selected T|inserted S&Name=E\\T"},
    {"", "S&Name", 3, "0 S&Name3 = 13", "selected S3|inserted S&Name3"},
    {"", "&b=x=y", 1, "0 &b=x=y = 13", "filtered x=y|inserted &b=x=y"},
    {"", "S&Name=e", 1, "3 Not Found = none", "missing S&Name=e|absent S&Name=e"},
    // Answers are cut to the capacity. With none, nothing is written, but the group is open.
    {"", "P", 2, "0 untouched = none", "known P2", 1},
    {"P2", "L&id=6", 1, "0 untouched = none", "filtered 6", 0},
    {"P2", "L&id=6", 1, "0 P2\\L&id=6 = 6", "known P2\\L&id=6"},
};

// The lines of a search, those of the forms below in short.
std::string Steps(const TestDocument& document, const Lines& lines) {
  // The file's name, which on Windows has backslashes, must not become part of a pattern.
  const std::string ofFile = " in " + document.Name() + ".";
  const std::string map = " in the element map\\.$", file = " in FILE$";
  const std::pair<std::string, const char*> forms[] = {
      {"^Found (.*) \\(element\\)" + map, "entered $1"},
      {"^Found (.*) \\(attribute\\)" + map, "filtered $1"},
      {"^(.*) \\(element\\) not found" + map, "selected $1"},
      {"^(.*) not found" + map, "missing $1"},
      {"^Inserted (.*) into the element map\\.$", "inserted $1"},
      {"^Found (.*)" + file, "known $1"},
      {"^(.*) not found" + file, "absent $1"}};
  std::string steps;
  for (std::string line : lines) {
    if (line.ends_with(ofFile)) line.replace(line.size() - ofFile.size(), line.npos, " in FILE");
    for (const auto& [form, shortForm] : forms)
      line = std::regex_replace(line, std::regex(form), shortForm);
    steps += "|" + line;
  }
  return steps;
}

TEST(Groups, AreOpenedBelowOneAnother) {
  const TestDocument document(catalog);
  LogLines log;
  for (const auto& [parent, path, occurrence, answer, steps, capacity] : searches) {
    SCOPED_TRACE(parent + " : " + path + " " + std::to_string(occurrence));
    const std::string opened = Open(document, parent, path, occurrence, capacity);
    EXPECT_EQ(opened + " = " + IdOf(document, opened), answer);
    EXPECT_EQ(Steps(document, log.Take()),
              "|Found " + document.Opened() + " in the xml file list.|" + path +
                  (path.starts_with("Catalog") ? " is a group|" : " is a group ID|") + steps);
  }
}

TEST(Groups, CutPathsAndIdsAt259Bytes) {
  const TestDocument document(catalog);
  LogLines log;
  for (const std::size_t length : {258U, 259U, 260U, 500U}) {
    const std::string path = "P&id=" + std::string(length - 5, '1');
    for (const char* root : {"", "Catalog\\"}) {
      EXPECT_EQ(Open(document, "", root + path, 2), "3 Not Found");
      EXPECT_EQ(log.Take().back(), path.substr(0, 259) + " not found in " + document.Name() + ".");
    }
  }
  EXPECT_EQ(Open(document, "", "Catalog" + std::string(600, 'X') + "\\P"), "0 P");
  // The first L is a leaf, which matches itself, so IDs can grow up to the limit, of odd and even
  // lengths.
  for (std::uint32_t n : {1U, 2U}) {
    std::string id = Open(document, "", "P", n).substr(2);
    for (std::string below; id.size() < 259; id = below) {
      below = (id + "\\L").substr(0, 259);
      ASSERT_EQ(Open(document, id, "L"), "0 " + below);
    }
    // Nothing more fits, so the ID is the parent's.
    EXPECT_EQ(Open(document, id, "L"), "0 untouched");
  }
}

TEST(Groups, AnswerForAnUnknownDocumentWithoutTouchingTheBuffer) {
  const TestDocument document(catalog);
  LogLines log;
  const auto open = [&](XmlFileList* list, std::uint32_t cookie, const char* path) {
    return Answer("", [&](char* id) { return OpenXMLGroup(list, cookie, path, id, 400); });
  };
  EXPECT_EQ(open(document.list, document.cookie + 1, "L"), "3 untouched");
  EXPECT_EQ(open(nullptr, document.cookie, "L"), "3 untouched");
  EXPECT_EQ(open(document.list, document.cookie, nullptr), "34 untouched");
  EXPECT_EQ(log.Take().back(), "Unknown exception thrown while searching for the group name.");
  EXPECT_EQ(OpenXMLGroup(document.list, document.cookie, "L", nullptr, 0), XmlFailure);
  log.TakeTraces();
  EXPECT_EQ(open(document.list, document.cookie, "P"), "0 P");
  EXPECT_EQ(log.TakeTraces(),
            (Lines{">OpenXMLGroup", ">GenericOpenGroup", ">FindXmlFile", "<FindXmlFile",
                   ">IsRootInPath", "<IsRootInPath", ">ReturnTokenFromString",
                   "<ReturnTokenFromString", "<GenericOpenGroup", "<OpenXMLGroup"}));
}

TEST(Groups, AreNotFoundBelowARootThatTheLocaleCannotRepresent) {
  std::optional<LocaleGuard> locale(multibyteLocale);
  const TestDocument document("<\u4e2d><A/></\u4e2d>");
  locale.emplace(narrowLocale);
  LogLines log;
  EXPECT_EQ(Open(document, "", "A"), "3 Not Found");
  const Lines lines = log.Take();
  EXPECT_EQ(std::ranges::count(lines, "Unicode to multi-byte conversion returned NULL"), 1);
  EXPECT_EQ(Steps(document, {lines.back()}), "|absent \u4e2d");
}

// Without a sink, the parent of the last path is known. Each row would be answered below it if one
// of the conditions for that were missing.
TEST(KnownParent, ServesOnlyThePathThatItWasFoundBy) {
  const TestDocument document(
      "<R><P\u0416><L><S id='1'/><S id='2'/></L></P\u0416><P k='1'><L><S id='3'/><S id='4'/></L>"
      "</P><Q><L><S id='5'/><S id='6'/></L></Q></R>");
  const auto expect = [&](const char* id, const char* parent, const char* path,
                          std::uint32_t occurrence) {
    EXPECT_EQ(IdOf(document, Open(document, parent, path, occurrence)), id) << path;
  };
  {
    const LocaleGuard locale(hasUtf8 ? "C.UTF-8" : "C");
    expect(hasUtf8 ? "1" : "3", "", "P\\L\\S", 1);
  }
  const LocaleGuard locale("C");
  expect("4", "", "P\\L\\S", 2); // another character set
  expect("5", "", "Q\\L\\S", 1); // another path
  for (int time = 0; time < 2; ++time)
    expect("none", "", "Q\\X\\L", 1); // a parent that is not there
  {
    LogLines log;
    expect("6", "", "Q\\L\\S", 2); // the lines of each level
    EXPECT_EQ(std::ranges::count(log.Take(), "Found Q (element) in the element map."), 1);
  }
  for (const char* parent : {"P", "Q"}) expect("", "", parent, 1);
  expect("3", "P", "L\\", 1);
  expect("6", "Q", "L\\", 2); // another start
  expect("3", "", "P&k=1\\L\\S", 1);
  ASSERT_EQ(document.SetAttribute("P", "k", "2"), 0U);
  expect("none", "", "P&k=1\\L\\S", 2); // a filter whose answer has changed
}
