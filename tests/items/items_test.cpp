#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "support/text.h"
#include "text/convert.h"

namespace {

constexpr const char* element = "ELEMENT";
constexpr const char* attribute = "ATTRIBUTE";
constexpr const char* failed = "Failed to get A: unknown exception thrown.";
// The log line in full: "+ITEM=VALUE" stands for one of an item found, "-NAME" of one that was not.
std::string Line(const std::string& text) {
  const std::string item(Split(text, '=')[0].substr(1)), in = " in the element map.";
  if (text[0] == '+')
    return "Found " + item + in + "  It's value is " + text.substr(item.size() + 2) + ".";
  return text[0] == '-' ? item + " not found" + in : text;
}

const struct {
  ItemCall call;
  std::string answer, line;
} reads[] = {
    // Children are matched by their whole name, but index 0 takes the first whatever its name.
    {{"S", "A"}, "0 one", "+A (element)=one"},
    {{"S", "A", nullptr, 3, "", "Elements"}, "0 thr&ee", "+A (element)=thr&ee"},
    {{"S", "A", nullptr, 4}, "3 Not Found", "-A (element)"},
    {{"S", "A", nullptr, -1}, "3 Not Found", "-A (element)"},
    {{"S", "None", nullptr, 0}, "0 one", "+None (element)=one"},
    {{"S", "Setting"}, "3 Not Found", "-Setting (element)"},
    {{"S", "a"}, "3 Not Found", "-a (element)"},
    // Paths are keys of the element map, with and without the root's name.
    {{"X", "A", nullptr, 0}, "3 Not Found", "-A (element)"},
    {{"S\\X", "X", "k"}, "3 Not Found", "-k (attribute)"},
    {{"S\\Long", "x"}, "3 Not Found", "-S\\Long"},
    {{"S\\", "A"}, "3 Not Found", "-S\\"},
    {{"", "A"}, "3 Not Found", "-"},
    // The element's own attributes: index and value type have no effect.
    {{"S", "S", "Status"}, "0 Enabled", "+S-Status=Enabled (attribute)"},
    {{"S", "S", "Status", -7, element, "attributes"}, "0 Enabled", "+S-Status=Enabled (attribute)"},
    {{"S", "S", "status"}, "3 Not Found", "-status (attribute)"},
    // The children's attributes: only children that have the attribute count.
    {{"S", "A", "k"}, "0 first", "+A-k=first (attribute)"},
    {{"S", "A", "k", 2, "attribute"}, "0 third", "+A-k=third (attribute)"},
    {{"S", "A", "k", 2, element}, "0 thr&ee", "+A-k=thr&ee (element)"},
    {{"S", "A", "k", 2, ""}, "0 thr&ee", "+A-k=thr&ee (element)"},
    {{"S", "A", "z", 0}, "3 Not Found", "-z (attribute)"},
    {{"S", "None", "k", 0}, "0 first", "+None-k=first (attribute)"},
    // Buffers that are just too small, or missing. An element's line shows the stored text, an
    // attribute's the whole.
    {{"S", "Long", nullptr, 1, "", element, 12}, "0 twelve byte", "+Long (element)=twelve byte"},
    {{"S", "Long", nullptr, 1, "", element, 1}, "0 ", "+Long (element)="},
    {{"S", "S", "Status", 1, "", attribute, 7}, "0 Enable", "+S-Status=Enabled (attribute)"},
    {{"S", "S", "r", 1, "", attribute, 2}, "0 1", "+S-r=1&23456789ABCDEF (attribute)"},
    {{"S", "B", nullptr, 1, "", element, 5}, "3 Not ", "-B (element)"},
    {{"S", "A", nullptr, 1, "", element, 0}, "0 untouched", "Removed S from S."},
    {{"S", "A", "k", 1, "", attribute, 0}, "0 untouched", "Removed S from S."},
    // Without a keyword nothing is done. A missing argument gives a code.
    {{"S", "A", nullptr, 1, "", "ELEM"}, "0 untouched", "Removed S from S."},
    {{"S", nullptr}, "34 untouched", "Failed to get : unknown exception thrown."},
    {{"S", "A", nullptr, 1, "", attribute}, "34 untouched", failed},
};

TEST(ReadItem, GivesCodeValueAndLine) {
  const LocaleGuard locale(hasUtf8 ? "C.UTF-8" : "C"); // where a value's beginning needs no check
  const TestDocument document(
      "<S Status='Enabled' r='1&amp;23456789ABCDEF'>\n<A "
      "k='first'>one</A><Settings>x</Settings><A>two</A><!-- c -->"
      "<A k='third'>thr<!-- c --><![CDATA[&]]>ee</A>\n<X/><Long>twelve bytes</Long></S>");
  ASSERT_EQ(document.Group("X"), "X");
  LogLines log;
  for (const auto& [call, answer, line] : reads) {
    SCOPED_TRACE(answer + ", " + line);
    EXPECT_EQ(document.Read(call), answer);
    EXPECT_EQ(log.Take().back(), Line(line));
  }
  EXPECT_EQ(GetXMLItem(document.list, document.cookie, "S", "A", element, "", "", nullptr, 9), 0U);
  EXPECT_EQ(GetXMLItem(document.list, ~document.cookie, "S", "A", element, "", "", nullptr, 9), 3U);
}

// Each child that a search visits logs its line, even several of one name in a row.
TEST(ReadItem, PassesWhatHasNoFormInTheLocale) {
  const TestDocument document(
      "<R \u4e2d='v'><\u4e2d k='1'/><\u4e2d/><A k='\u4e2d'>x</A><\u4e2d/>"
      "<A k='2'>\U0001F600</A></R>");
  LogLines log;
  {
    const LocaleGuard locale(narrowLocale);
    const std::string line = "Failed to get the length of \u4e2d:  ";
    const auto expect = [&](const std::string& answer, const std::string& wanted, int failures) {
      EXPECT_EQ(answer, wanted);
      EXPECT_EQ(std::ranges::count(log.Take(), line + std::strerror(EILSEQ)), failures) << wanted;
    };
    expect(document.Text("R", "A"), "x", 2);
    expect(document.Text("R", "B"), "Not Found", 3);
    expect(document.Group("A&k=2"), "A&k=2", 4); // a value as well
    expect(document.Group("B"), "Not Found", 3);
    for (const ItemCall& call : {ItemCall{"R", "A", nullptr, 2}, ItemCall{"R", "A", "k"}}) {
      EXPECT_EQ(document.Read(call), "34 untouched");
      EXPECT_EQ(log.Take().back(), failed);
    }
  }
  const LocaleGuard locale(multibyteLocale);
  EXPECT_EQ(document.Attribute("R", "R", MultiByteText(ConvertToMultiByte(L"\u4e2d")).get()), "v");
  EXPECT_EQ(document.Attribute("R", "R", "\xFF"), "Not Found"); // invalid
  log.Take();
  EXPECT_EQ(document.Attribute("R", "A", "\xFF"), "Not Found");
  const std::vector<std::string> lines = log.Take(); // of one conversion, not one for each child
  EXPECT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines.back(), Line("-A (element)"));
}

// Into a small buffer, without a sink, only the beginning of a value is converted.
TEST(ReadItem, JudgesTheWholeValueButConvertsItsBeginning) {
  const std::string umlauts = Repeat("\u00e4", 40);
  const TestDocument document("<R k='" + umlauts + "' l='" + umlauts + "\u4e2d'><A>" + umlauts +
                              "</A><B>" + umlauts + "\u4e2d</B></R>");
  const LocaleGuard locale(hasUtf8 ? "ISO-8859-1" : ".1252");
  const std::string answer = "0 " + std::string(15, '\xe4');
  for (int round = 0; round < 2; ++round) { // that the first was accepted is remembered
    EXPECT_EQ(document.Read({"R", "A"}), answer);
    EXPECT_EQ(document.Read({"R", "R", "k"}), answer);
    EXPECT_EQ(document.Read({"R", "B"}), "34 untouched");
    EXPECT_EQ(document.Read({"R", "R", "l"}), "34 untouched");
  }
}

const std::string external = "<!DOCTYPE R SYSTEM 'r.dtd'><R>"; // with entities that are not known

// What a set does to a file. Whole files are compared, so everything else must be unchanged.
const struct {
  std::string before;
  const char *path, *item, *type, *value;
  std::string after;
} sets[] = {
    // The root's name may be omitted. What is missing is created, also in an element with text.
    {"<R><S>1</S></R>", "S", "T", element, "2", "<R><S>1<T>2</T></S></R>"},
    {"<R/>", "", "A\\B", element, "x", "<R><A><B>x</B></A></R>"},
    {"<R><A>A</A></R>", "A", "A", element, "x", "<R><A>A<A>x</A></A></R>"},
    {"<R><B/></R>", "A", "B", element, "x", "<R><B/><A><B>x</B></A></R>"},
    {"<R><A>x</A></R>", "", "A", element, "", "<R><A></A></R>"},
    // The first element whose name begins with the name is taken. An attribute part never selects;
    // it is ignored without a name or value.
    {"<R><Sets/><Set>2</Set></R>", "R", "Set", element, "3", "<R><Sets>3</Sets><Set>2</Set></R>"},
    {"<R><A k='1'/><A k='2'/></R>", "A&k=2", "B", element, "y",
     "<R><A k='2'><B>y</B></A><A k='2'/></R>"},
    {"<R><N>1</N></R>", "R", "N&u=ms&x=", element, "2", "<R><N u=\"ms&amp;x=\">2</N></R>"},
    {"<R/>", "A&k=\\B&=v\\C&k\\D&", "E", element, "x",
     "<R><A><B><C><D><E>x</E></D></C></B></A></R>"},
    {"<R><S  M = 'Slow'\n/></R>", "R\\S", "M", attribute, "Fast", "<R><S  M = 'Fast'\n/></R>"},
    {"<R><S/></R>", "S", "k", attribute, "a\\b&c=d", "<R><S k=\"a\\b&amp;c=d\"/></R>"},
    {"<R/>", "A&u=1", "k", attribute, "2", "<R><A u=\"1\" k=\"2\"/></R>"},
    {"<R/>", "A&k=1", "k", attribute, "2", "<R><A k=\"2\"/></R>"},
    {"<R><A/></R>", "R", "k", attribute, "v", "<R k=\"v\"><A/></R>"},
    {"<R><A/></R>", "R\\", "k", attribute, "v", "<R k=\"v\"><A/></R>"},
    // Without a name, a value or a keyword, only the path's elements are created.
    {"<R k='1'/>", "R\\A", "k", attribute, "", "<R k='1'><A/></R>"},
    {"<R k='1'/>", "A", "", attribute, "v", "<R k='1'><A/></R>"},
    {"<R/>", "A", "k", "element", "v", "<R><A/></R>"},
    {"<R >&#65;<A></A></R >\n\n", "R", "1", "ELEMENTS", "\x01", "<R >&#65;<A></A></R >\n\n"},
    // Values are replaced whole, even by what they read as. Elements are added beside any text.
    {"<R><A>&lt;&#9;</A></R>", "", "A", element, "2", "<R><A>2</A></R>"},
    {external + "<A k='caf&e;'/></R>", "A", "k", attribute, "caf", external + "<A k='caf'/></R>"},
    {external + "<A k='&e;&amp;'/></R>", "A", "k", attribute, "n", external + "<A k='n'/></R>"},
    {external + "&e;</R>", "", "N", element, "1", external + "&e;<N>1</N></R>"},
    // Names and values in a character set in which a backslash can be part of a character
    {"<R><\u8868>\U0001F600</\u8868></R>", "R\\\x95\\\\\x95\\", "\x95\\", element,
     "\x82\xA0<\x95\\",
     "<R><\u8868>\U0001F600<\u8868><\u8868>\u3042&lt;\u8868</\u8868></\u8868></\u8868></R>"},
    {"<R><\u8868>\u4e2d</\u8868></R>", "\x95\\", "\x82\xA0", attribute, "\x95\\\"",
     "<R><\u8868 \u3042=\"\u8868&quot;\">\u4e2d</\u8868></R>"},
};

TEST(SetItem, ChangesWhatItNamesAlone) {
  const LocaleGuard locale(multibyteLocale);
  for (const auto& [before, path, item, type, value, after] : sets) {
    const TestDocument document(before);
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(SetXMLItem(document.list, document.cookie, path, item, type, value), 0U) << after;
      EXPECT_EQ(document.Bytes(), after) << time;
      // So young a file is merged with, which could hide a wrong change of the document itself.
      EXPECT_EQ(document.list->files.front().document->GenerateXML(false), after) << time;
    }
  }
}

TEST(SetItem, MeansTheSameInWhatAnotherProgramWrote) {
  const LocaleGuard locale(multibyteLocale);
  // A second form of the character names no element, and so always a new one.
  const TestDocument document("<R><\u7e8a>1</\u7e8a></R>");
  EXPECT_EQ(document.SetText("", "\xED\x40", "2"), 0U);
  EXPECT_EQ(document.Bytes(), "<R><\u7e8a>1</\u7e8a><\u7e8a>2</\u7e8a></R>");
  // What the file refuses is left out as a whole.
  const std::string begin = "<!DOCTYPE R [<!ENTITY e '<E/>'>]><R><A>&e;</A>";
  document.Write(begin + "</R>");
  EXPECT_EQ(document.SetText("", "A&k=v", "1"), 34U);
  EXPECT_EQ(document.SetText("", "B", "2"), 0U);
  EXPECT_EQ(document.Bytes(), begin + "<B>2</B></R>");
}

TEST(SetItem, EntersWhatItCreatesIntoTheMap) {
  const TestDocument document("<Root><Found><x/></Found><A>1</A><A k='second'>2</A></Root>");
  ASSERT_EQ(document.SetText("Root\\Found", "New", "n"), 0U);
  ASSERT_EQ(document.SetAttribute("Found\\Item&unit=ms", "kind", "x"), 0U);
  ASSERT_EQ(document.SetAttribute("Root", "k", "v"), 0U);
  // A created element takes over the key of a group; setting an attribute does not.
  ASSERT_EQ(document.Group("A", 2), "A2");
  ASSERT_EQ(document.SetText("", "A2", "made"), 0U);
  ASSERT_EQ(document.Group("A&k=second"), "A&k=second");
  ASSERT_EQ(document.SetAttribute("A", "k", "second"), 0U);
  std::string known;
  for (const char* key :
       {"Found", "New", "&k=v", "Found\\New", "Found\\Item", "A", "Found\\Item&unit=ms",
        "Found\\Item&unit=ms&kind=x", "A2", "A&k=second"}) {
    const auto found = document.list->files.front().elementMap->Find(key);
    if (!found.IsNull()) known += key + (":" + found.Text().GetValue()) + " ";
  }
  EXPECT_EQ(known,
            "Found\\New:n Found\\Item: Found\\Item&unit=ms: Found\\Item&unit=ms&kind=x: A2:made "
            "A&k=second:2 ");
}

TEST(SetItem, LogsItsWalk) {
  const TestDocument document("<Root><S><X/></S></Root>");
  LogLines log;
  ASSERT_EQ(document.SetText("Root\\S", "T&k=v", "1"), 0U);
  EXPECT_EQ(std::ranges::count(log.TakeTraces(), ">ReturnTokenFromString"), 8);
  EXPECT_EQ(SetXMLItem(document.list, 7, "S", "T", "ELEMENT", "x"), 3U);
  EXPECT_EQ(
      log.Take(),
      (std::vector<std::string>{
          "Found " + document.Opened() + " in the xml file list.", "Root\\S is a group",
          "Removed Root from Root\\S.", "S (element) not found in the element map.",
          "T not found in the element map.", "Failed to find 7 (cookie) in the xml file list.",
          "error: Failed to get the xml representation for the xml with id 7"}));
}

// Several paths or items, separated by "|", of which each is refused alone. Most name a missing
// element first, which must not be created.
const struct {
  std::string paths, items, type, value, reason; // "-" stands for null
} refusals[] = {
    {"N\\\\A|\\N|N\\|N\\&k=v|R\\\\N|N\\1", "B", element, "v", "element's name"},
    {"N", "|&k=v|a b", element, "v", "element's name"},
    {"\\|N\\A\\", "k", attribute, "v", "element's name"},
    {"N\\A\\", "k", "no keyword", "v", "element's name"},
    {"N", "A&1=v", element, "v", "attribute's name"},
    {"N", "a=b|a\\b|1", attribute, "v", "attribute's name"},
    {"N\\\xFF", "B", element, "v", "not valid text"},
    {"N", "\xFF", element, "v", "not valid text"},
    {"N", "\xFF", attribute, "v", "not valid text"},
    {"N", "B", element, "\xFF", "not valid text"},
    {"N", "B", attribute, "\xFF", "not valid text"},
    {"N\\A&k=\x02", "B", element, "v", "does not allow"},
    {"N", "B", element, "a\x01z", "does not allow"},
    {"N", "B", attribute, "a\x01z", "does not allow"},
    {"|R|R\\", "", element, "v", "the item has no name"},
    {"-", "B", element, "v", "is null"},
    {"N", "-", element, "v", "is null"},
    {"N", "B", "-", "v", "is null"},
    {"N", "B", element, "-", "is null"},
    // Values that the document type would fold, on existing and new elements
    {"A&k= v|A&k=v  w\\N|N\\A&k=v |A\\M&k=v ", "N", element, "v", "white space"},
    {"A|N\\M|R", "k", attribute, " v", "white space"},
    {"B\\E", "N", element, "v", "comes from an entity"},
    {"B\\E|B&k=v\\E\\N|B&k=v\\E", "k", attribute, "v", "comes from an entity"},
    {"B", "E|E&k=v", element, "v", "comes from an entity"},
    {"", "B|C|D|F|G|C&k=v", element, "v", "refers to an entity"},
};

TEST(SetItem, RefusesBeforeItChangesAnything) {
  const LocaleGuard locale(multibyteLocale);
  const std::string bytes =
      "<!DOCTYPE R SYSTEM 'r.dtd' [<!ENTITY e '<E>1</E>'><!ENTITY f SYSTEM 'f'><!ENTITY g '&f;'>"
      "<!ATTLIST A k NMTOKENS #IMPLIED><!ATTLIST R k ID #IMPLIED><!ATTLIST M k ID "
      "#IMPLIED>]>\n<R><A>1</A><B>&e;</B>"
      "<C>caf&eacute;</C><D>&f;</D><F>&g;</F><G><q/>&amp;&eacute;<q/></G></R>";
  const TestDocument document(bytes);
  LogLines log;
  const auto given = [](const std::string& text) { return text == "-" ? nullptr : text.c_str(); };
  const auto refuse = [&](const std::string& path, const std::string& item, const auto& row) {
    SCOPED_TRACE(path + " " + item + " " + row.reason);
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, given(path), given(item), given(row.type),
                         given(row.value)),
              34U);
    const std::vector<std::string> lines = log.Take();
    EXPECT_EQ(lines.back(), "error: Unknown error while setting xml");
    EXPECT_NE(Reason(lines).find(row.reason), std::string::npos) << Reason(lines);
    EXPECT_EQ(
        std::ranges::count(lines, "error: Failed to add element to parent node. Cannot continue"),
        row.reason == "element's name");
    EXPECT_EQ(document.Save(), 0U);
    EXPECT_EQ(document.Bytes(), bytes);
    EXPECT_EQ(Reason(log.Take()), "");
  };
  for (const auto& row : refusals) {
    for (const std::string_view path : Split(row.paths)) {
      for (const std::string_view item : Split(row.items))
        refuse(std::string(path), std::string(item), row);
    }
  }
  EXPECT_EQ(SetXMLItem(document.list, document.cookie, "B\\E", "", "", ""), 0U)
      << "nothing is set there";
}

} // namespace
