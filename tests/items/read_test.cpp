#include <gtest/gtest.h>

#include <climits>
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

constexpr const char* siteStatus =
    "<SiteStatus Status='Enabled' Empty=''>\n"
    "  <A k='first'>one</A><Settings>x</Settings><A>two</A><!-- c --><A k='third'>thr<!-- c --><![CDATA[&]]>ee</A>\n"
    "  <SettingX/><Long>twelve bytes</Long>\n"
    "</SiteStatus>";

// The lines about the item itself, without those of finding the document and of the root in the path.
std::string ItemLines(LogLines& log) {
  std::string joined;
  for (const std::string& line : log.Take()) {
    if (line.ends_with("in the xml file list.") || line.ends_with(" is a group") || line.ends_with(" is a group ID"))
      continue;
    if (line.starts_with("Removed ")) continue;
    joined += (joined.empty() ? "" : "\n") + line;
  }
  return joined;
}

constexpr const char* untouched = "################";

struct ReadCase {
  const char* path;
  const char* item;
  const char* type;
  int index;
  const char* attribute;
  const char* valueType;
  std::uint32_t capacity;
  std::uint32_t code;
  std::string value;
  std::string lines;
};

std::string FoundElement(const std::string& item, const std::string& stored) {
  return "Found " + item + " (element) in the element map.  It's value is " + stored + ".";
}
std::string FoundAttribute(const std::string& item, const std::string& whole, const std::string& kind) {
  return "Found " + item + " in the element map.  It's value is " + whole + " (" + kind + ").";
}
std::string Missing(const std::string& name, const std::string& kind) {
  return name + " (" + kind + ") not found in the element map.";
}
std::string Failed(const std::string& item) { return "Failed to get " + item + ": unknown exception thrown."; }

const ReadCase readCases[] = {
    // Children are counted by their whole name.
    {"SiteStatus", "A", "ELEMENT", 1, nullptr, nullptr, 16, 0, "one", FoundElement("A", "one")},
    {"SiteStatus", "A", "element", 2, nullptr, nullptr, 16, 0, "two", FoundElement("A", "two")},
    {"SiteStatus", "A", "Elements", 3, nullptr, nullptr, 16, 0, "thr&ee", FoundElement("A", "thr&ee")},
    {"SiteStatus", "A", "ELEMENT", 4, nullptr, nullptr, 16, 3, "Not Found", Missing("A", "element")},
    {"SiteStatus", "A", "ELEMENT", INT_MAX, nullptr, nullptr, 16, 3, "Not Found", Missing("A", "element")},
    {"SiteStatus", "A", "ELEMENT", -1, nullptr, nullptr, 16, 3, "Not Found", Missing("A", "element")},
    {"SiteStatus", "A", "ELEMENT", INT_MIN, nullptr, nullptr, 16, 3, "Not Found", Missing("A", "element")},
    {"SiteStatus", "None", "ELEMENT", 0, nullptr, nullptr, 16, 0, "one", FoundElement("None", "one")},
    {"SiteStatus", "Setting", "ELEMENT", 1, nullptr, nullptr, 16, 3, "Not Found", Missing("Setting", "element")},
    {"SiteStatus", "a", "ELEMENT", 1, nullptr, nullptr, 16, 3, "Not Found", Missing("a", "element")},
    {"SettingX", "A", "ELEMENT", 0, nullptr, nullptr, 16, 3, "Not Found", Missing("A", "element")},
    // Keys, with and without the root's name.
    {"SiteStatus\\Long", "x", "ELEMENT", 1, nullptr, nullptr, 16, 3, "Not Found",
     "SiteStatus\\Long not found in the element map."},
    {"SiteStatus\\SettingX", "SettingX", "ATTRIBUTE", 1, "k", "", 16, 3, "Not Found", Missing("k", "attribute")},
    {"SiteStatus\\", "A", "ELEMENT", 1, nullptr, nullptr, 16, 3, "Not Found",
     "SiteStatus\\ not found in the element map."},
    {"", "A", "ELEMENT", 1, nullptr, nullptr, 16, 3, "Not Found", " not found in the element map."},
    // The element's own attributes: index and value type have no say.
    {"SiteStatus", "SiteStatus", "ATTRIBUTE", 1, "Status", "ATTRIBUTE", 16, 0, "Enabled",
     FoundAttribute("SiteStatus-Status", "Enabled", "attribute")},
    {"SiteStatus", "SiteStatus", "attributes", -7, "Status", "ELEMENT", 16, 0, "Enabled",
     FoundAttribute("SiteStatus-Status", "Enabled", "attribute")},
    {"SiteStatus", "SiteStatus", "ATTRIBUTE", 1, "Empty", "ATTRIBUTE", 16, 0, "",
     FoundAttribute("SiteStatus-Empty", "", "attribute")},
    {"SiteStatus", "SiteStatus", "ATTRIBUTE", 1, "status", "ATTRIBUTE", 16, 3, "Not Found",
     Missing("status", "attribute")},
    // The children's: those without the attribute don't count, and only index 0 can hit one.
    {"SiteStatus", "A", "ATTRIBUTE", 1, "k", "attribute", 16, 0, "first", FoundAttribute("A-k", "first", "attribute")},
    {"SiteStatus", "A", "ATTRIBUTE", 2, "k", "ATTRIBUTE", 16, 0, "third", FoundAttribute("A-k", "third", "attribute")},
    {"SiteStatus", "A", "ATTRIBUTE", 2, "k", "ELEMENT", 16, 0, "thr&ee", FoundAttribute("A-k", "thr&ee", "element")},
    {"SiteStatus", "A", "ATTRIBUTE", 3, "k", "ATTRIBUTE", 16, 3, "Not Found", Missing("A", "element")},
    {"SiteStatus", "A", "ATTRIBUTE", 0, "z", "ATTRIBUTE", 16, 3, "Not Found", Missing("z", "attribute")},
    {"SiteStatus", "None", "ATTRIBUTE", 0, "k", "ATTRIBUTE", 16, 0, "first",
     FoundAttribute("None-k", "first", "attribute")},
    // Buffers that are just too small, or none. The line of an element shows what was stored, that of an attribute all.
    {"SiteStatus", "Long", "ELEMENT", 1, nullptr, nullptr, 13, 0, "twelve bytes", FoundElement("Long", "twelve bytes")},
    {"SiteStatus", "Long", "ELEMENT", 1, nullptr, nullptr, 12, 0, "twelve byte", FoundElement("Long", "twelve byte")},
    {"SiteStatus", "Long", "ELEMENT", 1, nullptr, nullptr, 1, 0, "", FoundElement("Long", "")},
    {"SiteStatus", "SiteStatus", "ATTRIBUTE", 1, "Status", "", 7, 0, "Enable",
     FoundAttribute("SiteStatus-Status", "Enabled", "attribute")},
    {"SiteStatus", "B", "ELEMENT", 1, nullptr, nullptr, 5, 3, "Not ", Missing("B", "element")},
    {"SiteStatus", "A", "ELEMENT", 1, nullptr, nullptr, 0, 0, untouched, ""},
    {"SiteStatus", "A", "ATTRIBUTE", 2, "k", "ELEMENT", 0, 0, untouched, ""},
    {"SiteStatus", "SiteStatus", "ATTRIBUTE", 2, "Status", "", 0, 0, untouched, ""},
    {"SiteStatus", "B", "ELEMENT", 1, nullptr, nullptr, 0, 3, untouched, Missing("B", "element")},
    // No keyword: nothing is done. A text that is missing ends in a code.
    {"SiteStatus", "A", "NODE", 1, nullptr, nullptr, 16, 0, untouched, ""},
    {"SiteStatus", "A", "ELEM", 1, nullptr, nullptr, 16, 0, untouched, ""},
    {"SiteStatus", nullptr, "ELEMENT", 1, nullptr, nullptr, 16, 34, untouched, Failed("")},
    {"SiteStatus", "A", "ATTRIBUTE", 1, nullptr, "", 16, 34, untouched, Failed("A")},
};

TEST(ReadItem, GivesCodeValueAndLine) {
  const TestDocument document(siteStatus);
  ASSERT_EQ(document.Group("SettingX"), "SettingX");
  LogLines log;
  for (const ReadCase& c : readCases) {
    SCOPED_TRACE(std::string(c.path) + " " + (c.item ? c.item : "null") + " " + c.type + " " + std::to_string(c.index));
    std::string buffer(untouched);
    EXPECT_EQ(EnumXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.index, c.attribute, c.valueType,
                          buffer.data(), c.capacity),
              c.code);
    const std::string expected = c.value == untouched ? untouched : c.value + '\0' + (untouched + c.value.size() + 1);
    EXPECT_EQ(buffer, expected); // what stands behind the text stays
    EXPECT_EQ(ItemLines(log), c.lines);
    EXPECT_EQ(EnumXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.index, c.attribute, c.valueType,
                          nullptr, 16) == XmlNotFound,
              c.code == XmlNotFound);
    log.Clear();
  }
}

TEST(ReadItem, LeavesTheBufferOfAnUnknownDocument) {
  const TestDocument document(siteStatus);
  LogLines log;
  char buffer[] = "#";
  EXPECT_EQ(GetXMLItem(document.list, document.cookie + 1, "SiteStatus", "A", "ELEMENT", nullptr, nullptr, buffer, 2),
            3U);
  EXPECT_STREQ(buffer, "#");
  EXPECT_EQ(log.Take().back(),
            "Failed to find " + std::to_string(document.cookie + 1) + " (cookie) in the xml file list.");
}

TEST(ReadItem, TracesEachFunctionItPasses) {
  const TestDocument document(siteStatus);
  LogLines log;
  EXPECT_EQ(document.Text("SiteStatus\\A", "B"), "Not Found");
  const std::vector<std::string> expected{">GetXMLItem",
                                          ">FindXmlFile",
                                          "<FindXmlFile",
                                          ">IsRootInPath",
                                          "<IsRootInPath",
                                          ">RemoveRootFromBeginningOfPath",
                                          ">ReturnTokenFromString",
                                          "<ReturnTokenFromString",
                                          "<RemoveRootFromBeginningOfPath",
                                          "<GetXMLItem"};
  EXPECT_EQ(log.TakeTraces(), expected);
}

TEST(ReadItem, CutsAKeyAt259Bytes) {
  const TestDocument document("<Root><A>x</A></Root>");
  const std::string longName(300, 'n');
  ASSERT_EQ(document.SetText("", (longName.substr(0, 259) + "\\B").c_str(), "deep"), 0U);
  EXPECT_EQ(document.Text((longName).c_str(), "B"), "deep");
  EXPECT_EQ(document.Text(("Root\\" + longName).c_str(), "B"), "deep");
  EXPECT_EQ(document.Text(longName.substr(0, 258).c_str(), "B"), "Not Found");
}

// Under the "C" locale omega has no form. Each child that the walk passes logs its line, whether it is one of a
// run or not, and the walk goes on.
TEST(ReadItem, PassesNamesWithoutAFormInTheLocale) {
  const TestDocument document(
      "<R \xCE\xA9='v'><\xCE\xA9 k='1'/><\xCE\xA9/><A k='\xCE\xA9'>x</A><\xCE\xA9/>"
      "<A k='2'>\xCE\xA9</A></R>");
  LogLines log;
  const auto unconverted = [&log] {
    std::size_t count = 0;
    for (const std::string& line : log.Take()) count += line.starts_with("Failed to get the length of \xCE\xA9:  ");
    return count;
  };
  EXPECT_EQ(document.Text("R", "A"), "x");
  EXPECT_EQ(unconverted(), 2U);
  EXPECT_EQ(document.Text("R", "B"), "Not Found");
  EXPECT_EQ(unconverted(), 3U);

  char buffer[] = "#";
  for (const char* type : {"ELEMENT", "ATTRIBUTE"}) {
    const int index = *type == 'E' ? 2 : 1;
    EXPECT_EQ(EnumXMLItem(document.list, document.cookie, "R", "A", type, index, "k", type, buffer, 2), 34U);
    EXPECT_STREQ(buffer, "#");
    EXPECT_EQ(log.Take().back(), "Failed to get A: unknown exception thrown.");
    EXPECT_EQ(EnumXMLItem(document.list, document.cookie, "R", "A", type, index, "k", type, nullptr, 0), 0U);
  }

  const LocaleGuard utf8("C.UTF-8");
  EXPECT_EQ(document.Attribute("R", "R", "\xCE\xA9"), "v");
  EXPECT_EQ(document.Attribute("R", "R", "\xFF"), "Not Found"); // no text: no attribute has that name
  EXPECT_EQ(document.Attribute("R", "A", "\xFF"), "Not Found");
}

} // namespace
