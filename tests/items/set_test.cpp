#include <gtest/gtest.h>

#include <chrono>
#include "corekit/corekit.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

// What a set does to a file: the whole file is compared, so everything that is not named must be as before.
struct SetCase {
  const char* what;
  std::string before;
  const char* path;
  const char* item;
  const char* type;
  const char* value;
  std::string after;
};

const SetCase setCases[] = {
    {"text is replaced alone",
     "<?xml version='1.0'?>\n<!DOCTYPE Root>\n<Root  a = 'x' >\r\n\t<S><!-- k -->1<T/>2</S>\r\n</Root >\n<!-- end "
     "-->\n",
     "Root", "S", "ELEMENT", "3",
     "<?xml version='1.0'?>\n<!DOCTYPE Root>\n<Root  a = 'x' >\r\n\t<S><!-- k -->3<T/></S>\r\n</Root >\n<!-- end "
     "-->\n"},
    {"a new element stands on a line of its own", "<Root>\n  <S>\n    <A>1</A>\n  </S>\n</Root>", "Root\\S", "T",
     "ELEMENT", "30", "<Root>\n  <S>\n    <A>1</A>\n    <T>30</T>\n  </S>\n</Root>"},
    {"the root's name may be left out", "<Root><S>1</S></Root>", "S", "T", "ELEMENT", "2",
     "<Root><S>1<T>2</T></S></Root>"},
    {"missing elements of the path are made", "<Root/>", "A\\B", "C", "ELEMENT", "x",
     "<Root><A><B><C>x</C></B></A></Root>"},
    {"an element is made in one that has only text", "<Root><A>A</A></Root>", "A", "A", "ELEMENT", "x",
     "<Root><A>A<A>x</A></A></Root>"},
    {"the first that begins with the name is taken", "<Root><Settings>1</Settings><Set>2</Set></Root>", "Root", "Set",
     "ELEMENT", "3", "<Root><Settings>3</Settings><Set>2</Set></Root>"},
    {"an attribute part never chooses", "<Root><A k='1'/><A k='2'>x</A></Root>", "A&k=2", "B", "ELEMENT", "y",
     "<Root><A k='2'><B>y</B></A><A k='2'>x</A></Root>"},
    {"an item name with an attribute part", "<Root><N>1</N></Root>", "Root", "N&u=ms&x=", "ELEMENT", "2",
     "<Root><N u=\"ms&amp;x=\">2</N></Root>"},
    {"an item name of several components", "<Root/>", "", "A\\B", "ELEMENT", "x", "<Root><A><B>x</B></A></Root>"},
    {"attribute parts without name or value say nothing", "<Root/>", "A&k=\\B&=v\\C&k\\D&", "E", "ELEMENT", "x",
     "<Root><A><B><C><D><E>x</E></D></C></B></A></Root>"},
    {"an attribute changes in its tag", "<Root><S  Mode = 'Slow'\n/></Root>", "Root\\S", "Mode", "ATTRIBUTE", "Fast",
     "<Root><S  Mode = 'Fast'\n/></Root>"},
    {"a new attribute follows the last", "<Root><S a='1' /></Root>", "S", "Mode", "ATTRIBUTE", "Fast",
     "<Root><S a='1' Mode=\"Fast\" /></Root>"},
    {"an attribute's value may hold separators", "<Root><S/></Root>", "S", "k", "ATTRIBUTE", "a\\b&c=d",
     "<Root><S k=\"a\\b&amp;c=d\"/></Root>"},
    {"a component with an attribute part takes the item's too", "<Root/>", "A&u=1", "k", "ATTRIBUTE", "2",
     "<Root><A u=\"1\" k=\"2\"/></Root>"},
    {"the item's comes last", "<Root/>", "A&k=1", "k", "ATTRIBUTE", "2", "<Root><A k=\"2\"/></Root>"},
    {"the root's own attribute", "<Root><A/></Root>", "Root", "k", "ATTRIBUTE", "v", "<Root k=\"v\"><A/></Root>"},
    {"the root's own, by the empty path", "<Root><A/></Root>", "", "k", "ATTRIBUTE", "v", "<Root k=\"v\"><A/></Root>"},
    {"the root's own, with a separator", "<Root><A/></Root>", "Root\\", "k", "ATTRIBUTE", "v",
     "<Root k=\"v\"><A/></Root>"},
    {"an empty value sets no attribute", "<Root k='1'/>", "Root\\A", "k", "ATTRIBUTE", "", "<Root k='1'><A/></Root>"},
    {"an empty name sets no attribute", "<Root k='1'/>", "A", "", "ATTRIBUTE", "v", "<Root k='1'><A/></Root>"},
    {"no keyword makes the path", "<Root/>", "A", "k", "element", "v", "<Root><A/></Root>"},
    {"no keyword on the root saves as it stands", "<Root >&#65;<A></A></Root >\n\n", "Root", "1", "ELEMENTS", "\x01",
     "<Root >&#65;<A></A></Root >\n\n"},
    {"an empty text", "<Root><A>x</A></Root>", "", "A", "ELEMENT", "", "<Root><A></A></Root>"},
};

TEST(SetItem, ChangesWhatItNamesAlone) {
  for (const SetCase& c : setCases) {
    SCOPED_TRACE(c.what);
    const TestDocument document(c.before);
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.value), 0U);
    EXPECT_EQ(document.Bytes(), c.after);
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.value), 0U);
    EXPECT_EQ(document.Bytes(), c.after) << "a second time";
  }
}

TEST(SetItem, ReadsBackWhateverXmlCanCarry) {
  const LocaleGuard utf8("C.UTF-8");
  const std::string values[] = {"plain",
                                " lead and trail ",
                                "\r",
                                "\n",
                                "\r\n",
                                "\t",
                                "a\r\n\tb\n",
                                "<&>\"'",
                                "]]>",
                                "]]",
                                "&amp;",
                                "<!-- x -->",
                                "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80",
                                "\xC2\x85\xE2\x80\xA8",
                                "\x7F",
                                "\xEE\x80\x80\xEF\xBF\xBD",
                                "-->",
                                "%s",
                                "a\\b&c=d",
                                std::string(3 << 20, 'm') + "<"};
  for (const std::int32_t encrypted : {0, 1}) {
    std::string bytes = "<Root a='0'><S>old</S></Root>";
    if (encrypted != 0) {
      ASSERT_TRUE(corekit::KCryptWrap::encrypt_data(std::string(bytes), bytes));
    }
    TestDocument document(bytes, encrypted);
    for (const std::string& value : values) {
      ASSERT_EQ(document.SetText("", "S", value), 0U);
      ASSERT_EQ(document.SetAttribute("Root", "a", value), 0U);
      EXPECT_TRUE(document.Text("Root", "S") == value) << value.substr(0, 40);
      document.Reopen();
      EXPECT_TRUE(document.Text("Root", "S") == value) << value.substr(0, 40);
      EXPECT_TRUE(document.Attribute("Root", "Root", "a") == value) << value.substr(0, 40);
    }
    EXPECT_EQ(document.Bytes().starts_with("TVK1"), encrypted != 0);
  }
}

TEST(SetItem, EntersWhatItMakesIntoTheMap) {
  const TestDocument document("<Root><Found><x/></Found><A>1</A><A k='second'>2</A></Root>");
  const auto isKey = [&](const char* path) {
    return GetXMLItem(document.list, document.cookie, path, "", "NODE", "", "", nullptr, 0) == 0;
  };
  ASSERT_EQ(document.SetText("Root\\Found", "New", "n"), 0U);
  EXPECT_TRUE(isKey("Found\\New"));
  EXPECT_FALSE(isKey("Found"));

  ASSERT_EQ(document.SetAttribute("Found", "Mode", "a\\b"), 0U);
  EXPECT_EQ(document.Attribute("Found&Mode=a\\b", "Found", "Mode"), "a\\b");
  ASSERT_EQ(document.SetAttribute("Found\\Item&unit=ms", "kind", "x"), 0U);
  EXPECT_TRUE(isKey("Found\\Item"));
  EXPECT_TRUE(isKey("Found\\Item&unit=ms"));
  EXPECT_TRUE(isKey("Found\\Item&unit=ms&kind=x"));
  ASSERT_EQ(document.SetAttribute("Root", "k", "v"), 0U);
  EXPECT_FALSE(isKey("&k=v"));

  // The key of a group goes over to an element that is made under it; an attribute's key stays where it is.
  ASSERT_EQ(document.Group("A", 2), "A2");
  ASSERT_EQ(document.Attribute("A2", "A", "k"), "second");
  ASSERT_EQ(document.SetText("", "A2", "made"), 0U);
  EXPECT_EQ(document.Attribute("A2", "A", "k"), "Not Found");
  ASSERT_EQ(document.Group("A&k=second"), "A&k=second");
  ASSERT_EQ(document.SetAttribute("A", "k", "second"), 0U);
  ASSERT_EQ(document.SetAttribute("A", "own", "first"), 0U);
  EXPECT_EQ(document.Attribute("A&k=second", "A", "own"), "Not Found");
}

TEST(SetItem, LogsItsWalk) {
  const TestDocument document("<Root><S><X/></S></Root>");
  const std::string found =
      "Found " + document.Name() + " (" + std::to_string(document.cookie) + ") in the xml file list.";
  LogLines log;
  ASSERT_EQ(document.SetText("Root\\S", "T&k=v", "1"), 0U);
  const std::vector<std::string> lines{found, "Root\\S is a group", "Removed Root from Root\\S.",
                                       "S (element) not found in the element map.", "T not found in the element map."};
  EXPECT_EQ(log.Take(), lines);
  std::string traces;
  for (const std::string& trace : log.TakeTraces()) {
    if (trace.front() == '>') traces += trace;
  }
  const std::string cut = ">ReturnTokenFromString"; // each component, its name, the search's own, the attribute part
  EXPECT_EQ(traces, ">SetXMLItem>FindXmlFile>IsRootInPath>RemoveRootFromBeginningOfPath" + cut + cut + cut + cut + cut +
                        cut + cut + cut);

  EXPECT_EQ(SetXMLItem(document.list, ~document.cookie, "S", "T", "ELEMENT", "x"), 3U);
  EXPECT_EQ(log.Take().back(),
            "error: Failed to get the xml representation for the xml with id " + std::to_string(~document.cookie));
}

TEST(SetItem, TakesLongPathsInProportion) {
  const auto repeat = [](const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) all += text;
    return all;
  };
  const auto secondsToSet = [&](std::size_t depth) {
    const TestDocument document(repeat("<n>", depth) + "<x/>" + repeat("</n>", depth));
    const std::string path = repeat("\\n", depth).substr(1); // the first stands for the root
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(document.SetText(path.c_str(), "leaf", "v"), 0U);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(document.Bytes(), repeat("<n>", depth) + "<x/><leaf>v</leaf>" + repeat("</n>", depth));
    return taken.count();
  };
  EXPECT_LT(secondsToSet(100'000), 20 * secondsToSet(10'000) + 0.5);

  const TestDocument document("<Root/>");
  const std::string path = repeat("e\\", 3'000);
  ASSERT_EQ(document.SetText("Root", (path + std::string(1'000, 'e')).c_str(), "deep"), 0U);
  const std::string made = document.Bytes();
  ASSERT_EQ(document.SetText(path.substr(0, path.size() - 1).c_str(), std::string(1'000, 'e').c_str(), "deep"), 0U);
  EXPECT_EQ(document.Bytes(), made);
}

} // namespace
