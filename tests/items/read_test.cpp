#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "text/convert.h"

namespace {

const std::string untouched(16, '#');
constexpr const char* element = "ELEMENT";
constexpr const char* attribute = "ATTRIBUTE";

std::string Element(const std::string& item, const std::string& stored) {
  return "Found " + item + " (element) in the element map.  It's value is " + stored + ".";
}
std::string Attribute(const std::string& item, const std::string& whole, const std::string& kind = "attribute") {
  return "Found " + item + " in the element map.  It's value is " + whole + " (" + kind + ").";
}
std::string Missing(const std::string& name) { return name + " not found in the element map."; }
std::string Failed(const std::string& item) { return "Failed to get " + item + ": unknown exception thrown."; }

const struct {
  const char *path, *item, *type;
  int index;
  const char *attribute, *valueType;
  std::uint32_t capacity, code;
  std::string value, line; // the line that says what was found; none when the lines end with the path's
} cases[] = {
    // Children are counted by their whole name.
    {"S", "A", element, 1, nullptr, nullptr, 16, 0, "one", Element("A", "one")},
    {"S", "A", "Elements", 3, nullptr, nullptr, 16, 0, "thr&ee", Element("A", "thr&ee")},
    {"S", "A", element, 4, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S", "A", element, INT_MAX, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S", "A", element, INT_MIN, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S", "None", element, 0, nullptr, nullptr, 16, 0, "one", Element("None", "one")},
    {"S", "Setting", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("Setting (element)")},
    {"S", "a", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("a (element)")},
    // Keys, with and without the root's name.
    {"X", "A", element, 0, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S\\X", "X", attribute, 1, "k", "", 16, 3, "Not Found", Missing("k (attribute)")},
    {"S\\Long", "x", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("S\\Long")},
    {"S\\", "A", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("S\\")},
    {"", "A", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("")},
    // The element's own attributes: index and value type have no say.
    {"S", "S", attribute, 1, "Status", attribute, 16, 0, "Enabled", Attribute("S-Status", "Enabled")},
    {"S", "S", "attributes", -7, "Status", element, 16, 0, "Enabled", Attribute("S-Status", "Enabled")},
    {"S", "S", attribute, 1, "Empty", attribute, 16, 0, "", Attribute("S-Empty", "")},
    {"S", "S", attribute, 1, "status", attribute, 16, 3, "Not Found", Missing("status (attribute)")},
    // The children's: those without the attribute don't count, and only index 0 can hit one.
    {"S", "A", attribute, 1, "k", "attribute", 16, 0, "first", Attribute("A-k", "first")},
    {"S", "A", attribute, 2, "k", attribute, 16, 0, "third", Attribute("A-k", "third")},
    {"S", "A", attribute, 2, "k", element, 16, 0, "thr&ee", Attribute("A-k", "thr&ee", "element")},
    {"S", "A", attribute, 3, "k", attribute, 16, 3, "Not Found", Missing("A (element)")},
    {"S", "A", attribute, 0, "z", attribute, 16, 3, "Not Found", Missing("z (attribute)")},
    {"S", "None", attribute, 0, "k", attribute, 16, 0, "first", Attribute("None-k", "first")},
    // Buffers that are just too small, or none. The line of an element shows what was stored, that of an attribute all.
    {"S", "Long", element, 1, nullptr, nullptr, 13, 0, "twelve bytes", Element("Long", "twelve bytes")},
    {"S", "Long", element, 1, nullptr, nullptr, 12, 0, "twelve byte", Element("Long", "twelve byte")},
    {"S", "Long", element, 1, nullptr, nullptr, 1, 0, "", Element("Long", "")},
    {"S", "S", attribute, 1, "Status", "", 7, 0, "Enable", Attribute("S-Status", "Enabled")},
    {"S", "B", element, 1, nullptr, nullptr, 5, 3, "Not ", Missing("B (element)")},
    {"S", "A", element, 1, nullptr, nullptr, 0, 0, untouched, "S is a group"},
    {"S", "S", attribute, 2, "Status", "", 0, 0, untouched, "S is a group"},
    {"S", "B", element, 1, nullptr, nullptr, 0, 3, untouched, Missing("B (element)")},
    // No keyword: nothing is done. A text that is missing ends in a code.
    {"S", "A", "ELEM", 1, nullptr, nullptr, 16, 0, untouched, "S is a group"},
    {"S", nullptr, element, 1, nullptr, nullptr, 16, 34, untouched, Failed("")},
    {"S", "A", attribute, 1, nullptr, "", 16, 34, untouched, Failed("A")},
};

TEST(ReadItem, GivesCodeValueAndLine) {
  const TestDocument document(
      "<S Status='Enabled' Empty=''>\n<A k='first'>one</A><Settings>x</Settings><A>two</A><!-- c --><A k='third'>thr"
      "<!-- c --><![CDATA[&]]>ee</A>\n<X/><Long>twelve bytes</Long></S>");
  ASSERT_EQ(document.Group("X"), "X");
  LogLines log;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path + (" " + testing::PrintToString(c.item)) + " " + c.type + " " + std::to_string(c.index));
    const auto read = [&](char* value) {
      return EnumXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.index, c.attribute, c.valueType,
                         value, c.capacity);
    };
    std::string buffer = untouched;
    EXPECT_EQ(read(buffer.data()), c.code);
    const std::string line = log.Take().back();
    EXPECT_EQ(line.substr(0, line.find("Removed S from S.")), c.line == "S is a group" ? "" : c.line);
    EXPECT_EQ(buffer, c.value == untouched ? untouched : c.value + '\0' + untouched.substr(c.value.size() + 1));
    EXPECT_EQ(read(nullptr), c.code);
  }
}

TEST(ReadItem, CutsAKeyAt259Bytes) {
  const TestDocument document("<R><A>x</A></R>");
  const std::string key(300, 'n');
  ASSERT_EQ(document.SetText("", (key.substr(0, 259) + "\\B").c_str(), "deep"), 0U);
  EXPECT_EQ(document.Text(key.c_str(), "B"), "deep");
  EXPECT_EQ(document.Text(("R\\" + key).c_str(), "B"), "deep");
  EXPECT_EQ(document.Text(key.substr(0, 258).c_str(), "B"), "Not Found");
}

// Each child that a search passes logs its line, whether it is one of a run or not.
TEST(ReadItem, PassesWhatHasNoFormInTheLocale) {
  const TestDocument document(
      "<R \u4e2d='v'><\u4e2d k='1'/><\u4e2d/><A k='\u4e2d'>x</A><\u4e2d/><A k='2'>\U0001F600</A></R>");
  LogLines log;
  {
    const LocaleGuard locale(narrowLocale);
    const std::string failed = "Failed to get the length of \u4e2d:  " + std::string(std::strerror(EILSEQ));
    const auto failures = [&] { return std::ranges::count(log.Take(), failed); };
    EXPECT_EQ(document.Text("R", "A"), "x");
    EXPECT_EQ(failures(), 2);
    EXPECT_EQ(document.Text("R", "B"), "Not Found");
    EXPECT_EQ(failures(), 3);
    EXPECT_EQ(document.Group("A&k=2"), "A&k=2");
    EXPECT_EQ(failures(), 4); // a value, too
    EXPECT_EQ(document.Group("B"), "Not Found");
    EXPECT_EQ(failures(), 3);
    for (const auto& [type, index] : {std::pair(element, 2), {attribute, 1}}) {
      char value[] = "#";
      EXPECT_EQ(EnumXMLItem(document.list, document.cookie, "R", "A", type, index, "k", type, value, 2), 34U);
      EXPECT_STREQ(value, "#");
      EXPECT_EQ(log.Take().back(), Failed("A"));
    }
  }
  const LocaleGuard locale(multibyteLocale);
  EXPECT_EQ(document.Attribute("R", "R", MultiByteText(ConvertToMultiByte(L"\u4e2d")).get()), "v");
  EXPECT_EQ(document.Attribute("R", "R", "\xFF"), "Not Found"); // no text: no attribute has that name
  EXPECT_EQ(document.Attribute("R", "A", "\xFF"), "Not Found");
}

TEST(ReadItem, TracesEachFunctionItPassesAndLeavesTheBufferOfAnUnknownDocument) {
  const TestDocument document("<R/>");
  LogLines log;
  EXPECT_EQ(document.Text("R\\A", "B"), "Not Found");
  EXPECT_EQ(log.TakeTraces(),
            (std::vector<std::string>{">GetXMLItem", ">FindXmlFile", "<FindXmlFile", ">IsRootInPath", "<IsRootInPath",
                                      ">RemoveRootFromBeginningOfPath", ">ReturnTokenFromString",
                                      "<ReturnTokenFromString", "<RemoveRootFromBeginningOfPath", "<GetXMLItem"}));
  char buffer[] = "#";
  EXPECT_EQ(GetXMLItem(document.list, ~document.cookie, "R", "A", element, nullptr, nullptr, buffer, 2), 3U);
  EXPECT_STREQ(buffer, "#");
}

} // namespace
