#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "text/convert.h"

namespace {

const std::string untouched(16, '#');
const std::string noLine;
constexpr const char* element = "ELEMENT";
constexpr const char* attribute = "ATTRIBUTE";

std::string Element(const std::string& item, const std::string& stored) {
  return "Found " + item + " (element) in the element map.  It's value is " + stored + ".";
}
std::string Attribute(const std::string& item, const std::string& whole,
                      const std::string& kind = "attribute") {
  return "Found " + item + " in the element map.  It's value is " + whole + " (" + kind + ").";
}
std::string Missing(const std::string& name) { return name + " not found in the element map."; }
std::string Failed(const std::string& item) {
  return "Failed to get " + item + ": unknown exception thrown.";
}

const struct {
  const char *path, *item, *type;
  int index;
  const char *attribute, *valueType;
  std::uint32_t capacity, code;
  std::string value,
      line; // about the result; empty if the last line is about the path
} cases[] = {
    // Children are matched by their whole name.
    {"S", "A", element, 1, nullptr, nullptr, 16, 0, "one", Element("A", "one")},
    {"S", "A", "Elements", 3, nullptr, nullptr, 16, 0, "thr&ee", Element("A", "thr&ee")},
    {"S", "A", element, 4, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S", "None", element, 0, nullptr, nullptr, 16, 0, "one", Element("None", "one")},
    {"S", "Setting", element, 1, nullptr, nullptr, 16, 3, "Not Found",
     Missing("Setting (element)")},
    {"S", "a", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("a (element)")},
    // Keys, with and without the root's name.
    {"X", "A", element, 0, nullptr, nullptr, 16, 3, "Not Found", Missing("A (element)")},
    {"S\\X", "X", attribute, 1, "k", "", 16, 3, "Not Found", Missing("k (attribute)")},
    {"S\\Long", "x", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("S\\Long")},
    {"S\\", "A", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("S\\")},
    {"", "A", element, 1, nullptr, nullptr, 16, 3, "Not Found", Missing("")},
    // The element's own attributes: index and value type have no effect.
    {"S", "S", attribute, 1, "Status", attribute, 16, 0, "Enabled",
     Attribute("S-Status", "Enabled")},
    {"S", "S", "attributes", -7, "Status", element, 16, 0, "Enabled",
     Attribute("S-Status", "Enabled")},
    {"S", "S", attribute, 1, "status", attribute, 16, 3, "Not Found",
     Missing("status (attribute)")},
    // The children's attributes: only children that have the attribute count.
    {"S", "A", attribute, 1, "k", "attribute", 16, 0, "first", Attribute("A-k", "first")},
    {"S", "A", attribute, 2, "k", attribute, 16, 0, "third", Attribute("A-k", "third")},
    {"S", "A", attribute, 2, "k", element, 16, 0, "thr&ee", Attribute("A-k", "thr&ee", "element")},
    {"S", "A", attribute, 0, "z", attribute, 16, 3, "Not Found", Missing("z (attribute)")},
    {"S", "None", attribute, 0, "k", attribute, 16, 0, "first", Attribute("None-k", "first")},
    // Buffers that are just too small, or missing. The line of an element shows the stored text,
    // that of an attribute
    // the whole.
    {"S", "Long", element, 1, nullptr, nullptr, 12, 0, "twelve byte",
     Element("Long", "twelve byte")},
    {"S", "Long", element, 1, nullptr, nullptr, 1, 0, "", Element("Long", "")},
    {"S", "S", attribute, 1, "Status", "", 7, 0, "Enable", Attribute("S-Status", "Enabled")},
    {"S", "B", element, 1, nullptr, nullptr, 5, 3, "Not ", Missing("B (element)")},
    {"S", "A", element, 1, nullptr, nullptr, 0, 0, untouched, noLine},
    // Without a keyword nothing is done. A missing argument gives a code.
    {"S", "A", "ELEM", 1, nullptr, nullptr, 16, 0, untouched, noLine},
    {"S", nullptr, element, 1, nullptr, nullptr, 16, 34, untouched, Failed("")},
    {"S", "A", attribute, 1, nullptr, "", 16, 34, untouched, Failed("A")},
};

TEST(ReadItem, GivesCodeValueAndLine) {
  const TestDocument document(
      "<S Status='Enabled'>\n<A k='first'>one</A><Settings>x</Settings><A>two</A><!-- c --><A "
      "k='third'>thr"
      "<!-- c --><![CDATA[&]]>ee</A>\n<X/><Long>twelve bytes</Long></S>");
  ASSERT_EQ(document.Group("X"), "X");
  LogLines log;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path + (" " + testing::PrintToString(c.item)) + " " + c.type + " " +
                 std::to_string(c.index));
    const auto read = [&](char* value) {
      return EnumXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.index,
                         c.attribute, c.valueType, value, c.capacity);
    };
    std::string buffer = untouched;
    EXPECT_EQ(read(buffer.data()), c.code);
    EXPECT_EQ(log.Take().back(), c.line.empty() ? "Removed S from S." : c.line);
    EXPECT_EQ(buffer, c.value == untouched ? untouched
                                           : c.value + '\0' + untouched.substr(c.value.size() + 1));
    EXPECT_EQ(read(nullptr), c.code);
  }
}

// Each child that a search visits logs its line, even several of one name in a row.
TEST(ReadItem, PassesWhatHasNoFormInTheLocale) {
  const TestDocument document(
      "<R \u4e2d='v'><\u4e2d k='1'/><\u4e2d/><A k='\u4e2d'>x</A><\u4e2d/><A "
      "k='2'>\U0001F600</A></R>");
  LogLines log;
  {
    const LocaleGuard locale(narrowLocale);
    const std::string failed =
        "Failed to get the length of \u4e2d:  " + std::string(std::strerror(EILSEQ));
    const auto expect = [&](const std::string& answer, const std::string& wanted,
                            std::ptrdiff_t failures) {
      EXPECT_EQ(answer, wanted);
      EXPECT_EQ(std::ranges::count(log.Take(), failed), failures) << wanted;
    };
    expect(document.Text("R", "A"), "x", 2);
    expect(document.Text("R", "B"), "Not Found", 3);
    expect(document.Group("A&k=2"), "A&k=2", 4); // a value as well
    expect(document.Group("B"), "Not Found", 3);
    for (const auto& [type, index] : {std::pair(element, 2), {attribute, 1}}) {
      char value[] = "#";
      EXPECT_EQ(
          EnumXMLItem(document.list, document.cookie, "R", "A", type, index, "k", type, value, 2),
          34U);
      EXPECT_STREQ(value, "#");
      EXPECT_EQ(log.Take().back(), Failed("A"));
    }
  }
  const LocaleGuard locale(multibyteLocale);
  EXPECT_EQ(document.Attribute("R", "R", MultiByteText(ConvertToMultiByte(L"\u4e2d")).get()), "v");
  for (const char* item : {"R", "A"})
    EXPECT_EQ(document.Attribute("R", item, "\xFF"), "Not Found"); // invalid
}

// So many children that an index finds them, named in UTF-8 otherwise than in the locale. "\x83" is
// half a character there.
TEST(ReadItem, AmongManyChildrenInOtherCharacterSets) {
  const std::string so = "\xE3\x82\xBD";
  std::string text = "<R><t>" + so + "</t>";
  for (int i = 1; i <= 99; ++i) {
    const std::string n = std::to_string(i);
    text += "<" + so + " k='" + n + "'>" + n + "</" + so + "><a k='v" + n + "'/>";
  }
  for (const char* const name : {multibyteLocale, narrowLocale}) {
    const LocaleGuard locale(name);
    const TestDocument document(text + "<" + so + "b k='w'/></R>");
    const bool isNamed = name == multibyteLocale;
    for (const int n : {1, 50, 99, 100}) {
      for (const char* type : {element, attribute}) {
        char value[20];
        EnumXMLItem(document.list, document.cookie, "R", "\x83\x5C", type, n, "k", type, value,
                    sizeof value);
        EXPECT_EQ(value, isNamed && n < 100 ? std::to_string(n) : "Not Found");
      }
      const std::string byValue = "a&k=v" + std::to_string(n);
      EXPECT_EQ(document.Group(byValue.c_str()), n < 100 ? byValue : "Not Found");
    }
    for (const char* begin : {"\x83", "\x83\x5C"}) {
      EXPECT_EQ(document.Group(begin, 100), isNamed ? begin + std::string("100") : "Not Found");
      EXPECT_EQ(document.Group(begin, 101), "Not Found");
    }
  }
}

// What a set does to a file. Whole files are compared, so everything else must be unchanged.
const struct {
  const char *before, *path, *item, *type, *value, *after;
} setCases[] = {
    // The root's name may be omitted. Missing elements are created, even in an element that has
    // only text.
    {"<R><S>1</S></R>", "S", "T", element, "2", "<R><S>1<T>2</T></S></R>"},
    {"<R/>", "", "A\\B", element, "x", "<R><A><B>x</B></A></R>"},
    {"<R><A>A</A></R>", "A", "A", element, "x", "<R><A>A<A>x</A></A></R>"},
    {"<R><A>x</A></R>", "", "A", element, "", "<R><A></A></R>"},
    // The first element whose name begins with the name is taken. An attribute part never selects;
    // it is ignored
    // without a name or value.
    {"<R><Sets>1</Sets><Set>2</Set></R>", "R", "Set", element, "3",
     "<R><Sets>3</Sets><Set>2</Set></R>"},
    {"<R><A k='1'/><A k='2'>x</A></R>", "A&k=2", "B", element, "y",
     "<R><A k='2'><B>y</B></A><A k='2'>x</A></R>"},
    {"<R><N>1</N></R>", "R", "N&u=ms&x=", element, "2", "<R><N u=\"ms&amp;x=\">2</N></R>"},
    {"<R/>", "A&k=\\B&=v\\C&k\\D&", "E", element, "x",
     "<R><A><B><C><D><E>x</E></D></C></B></A></R>"},
    {"<R><S  Mode = 'Slow'\n/></R>", "R\\S", "Mode", attribute, "Fast",
     "<R><S  Mode = 'Fast'\n/></R>"},
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
};

TEST(SetItem, ChangesWhatItNamesAlone) {
  for (const auto& c : setCases) {
    SCOPED_TRACE(c.after);
    const TestDocument document(c.before);
    for (int time = 0; time < 2; ++time) {
      EXPECT_EQ(SetXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.value), 0U);
      EXPECT_EQ(document.Bytes(), c.after) << time;
    }
  }
}

// Names and values in the locale's character set, in a document with others that the locale cannot
// represent.
TEST(SetItem, ReadsBackWhateverXmlCanCarry) {
  const std::string kept = "<!-- \U0001F600 --><\u4e2d k='\U0001F600'>\U0010FFFF</\u4e2d>";
  TestDocument document("<Root a='0'>" + kept + "<\u3042>old</\u3042></Root>");
  for (const char* name : {multibyteLocale, hasUtf8 ? "C.UTF-8" : multibyteLocale}) {
    const LocaleGuard locale(name);
    const MultiByteText item(ConvertToMultiByte(L"\u3042"));
    for (const wchar_t* wide :
         {L" lead\r\n\t<&>\"']]>&amp;<!-- x -->-->%s a\\b&c=d\n ", L"\r", L"\u8868\u3042",
          L"\u20ac\U0001F600\u007F\u0085\u2028\ue000\ufffd"}) {
      const MultiByteText value(ConvertToMultiByte(wide));
      if (value == nullptr) continue;
      ASSERT_EQ(document.SetText("", item.get(), value.get()), 0U);
      ASSERT_EQ(document.SetAttribute("Root", "a", value.get()), 0U);
      for (int time = 0; time < 2; ++time, document.Reopen()) {
        EXPECT_EQ(document.Text("Root", item.get()), value.get());
        EXPECT_EQ(document.Attribute("Root", "Root", "a"), value.get());
      }
    }
  }
  EXPECT_NE(document.Bytes().find(kept), std::string::npos);
}

TEST(SetItem, EntersWhatItMakesIntoTheMap) {
  const TestDocument document("<Root><Found><x/></Found><A>1</A><A k='second'>2</A></Root>");
  ASSERT_EQ(document.SetText("Root\\Found", "New", "n"), 0U);
  ASSERT_EQ(document.SetAttribute("Found\\Item&unit=ms", "kind", "x"), 0U);
  ASSERT_EQ(document.SetAttribute("Root", "k", "v"), 0U);
  ElementMap& map = *document.list->files.front().elementMap;
  for (const char* key :
       {"Found\\New", "Found\\Item", "Found\\Item&unit=ms", "Found\\Item&unit=ms&kind=x"}) {
    EXPECT_FALSE(map.Find(key).IsNull()) << key;
  }
  for (const char* key : {"Found", "New", "&k=v"}) EXPECT_TRUE(map.Find(key).IsNull()) << key;

  // A created element takes over the key of a group; setting an attribute does not.
  ASSERT_EQ(document.Group("A", 2), "A2");
  ASSERT_EQ(document.SetText("", "A2", "made"), 0U);
  EXPECT_EQ(document.Attribute("A2", "A", "k"), "Not Found");
  ASSERT_EQ(document.Group("A&k=second"), "A&k=second");
  ASSERT_EQ(document.SetAttribute("A", "k", "second"), 0U);
  ASSERT_EQ(document.SetAttribute("A", "own", "first"), 0U);
  EXPECT_EQ(document.Attribute("A&k=second", "A", "own"), "Not Found");
}

TEST(SetItem, LogsItsWalk) {
  const TestDocument document("<Root><S><X/></S></Root>");
  const std::string unknown = std::to_string(~document.cookie);
  LogLines log;
  ASSERT_EQ(document.SetText("Root\\S", "T&k=v", "1"), 0U);
  EXPECT_EQ(SetXMLItem(document.list, ~document.cookie, "S", "T", "ELEMENT", "x"), 3U);
  EXPECT_EQ(log.Take(),
            (std::vector<std::string>{
                "Found " + document.Name() + " (" + std::to_string(document.cookie) +
                    ") in the xml file list.",
                "Root\\S is a group", "Removed Root from Root\\S.",
                "S (element) not found in the element map.", "T not found in the element map.",
                "Failed to find " + unknown + " (cookie) in the xml file list.",
                "error: Failed to get the xml representation for the xml with id " + unknown}));
}

// Most requests name a missing element first, which must not be created.
TEST(SetItem, RefusesBeforeItChangesAnything) {
  const LocaleGuard locale(multibyteLocale);
  const std::string bytes =
      "<!DOCTYPE R [<!ENTITY e '<E>1</E>'><!ATTLIST A k NMTOKENS #IMPLIED><!ATTLIST M k ID "
      "#IMPLIED>]>\n"
      "<R><A>1</A><B>&e;</B></R>";
  const TestDocument document(bytes);
  LogLines log;
  const auto refuse = [&](const char* path, const char* item, const char* type, const char* value,
                          const std::string& reason) {
    SCOPED_TRACE(testing::PrintToString(path) + testing::PrintToString(item) +
                 testing::PrintToString(value));
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, path, item, type, value), 34U);
    const std::vector<std::string> lines = log.Take();
    EXPECT_EQ(lines.back(), "error: Unknown error while setting xml");
    EXPECT_NE(Reason(lines).find(reason), std::string::npos) << Reason(lines);
    const bool isElementName = reason.starts_with("an element's name");
    EXPECT_EQ(
        lines[lines.size() - 2] == "error: Failed to add element to parent node. Cannot continue",
        isElementName);
    EXPECT_EQ(document.Save(), 0U);
    EXPECT_EQ(document.Bytes(), bytes);
    EXPECT_EQ(Reason(log.Take()), "");
  };
  const std::string elementName = "an element's name is empty or not a valid XML name",
                    attributeName = "attribute's name is not a valid XML name",
                    charset = "not valid text in the locale's character set",
                    control = "control character", null = "is null", noName = "no name";
  for (const char* path : {"N\\\\A", "\\N", "N\\", "N\\&k=v", "R\\\\N", "N\\1"})
    refuse(path, "B", element, "v", elementName);
  for (const char* item : {"", "&k=v", "a b"}) refuse("N", item, element, "v", elementName);
  refuse("N\\A&k=\x02", "B", element, "v", control);
  refuse("N\\\xFF", "B", element, "v", charset);
  for (const char* path : {"\\", "N\\A\\"}) refuse(path, "k", attribute, "v", elementName);
  refuse("N", "A&1=v", element, "v", attributeName);
  refuse("N", "\xFF", element, "v", charset);
  for (const char* item : {"a=b", "a\\b", "1"}) refuse("N", item, attribute, "v", attributeName);
  refuse("N", "\xFF", attribute, "v", charset);
  for (const char* type : {element, attribute}) {
    refuse("N", "B", type, "a\x01z", control);
    refuse("N", "B", type, "\xFF", charset);
  }
  for (const char* path : {"", "R", "R\\"}) refuse(path, "", element, "v", noName);
  refuse("N\\A\\", "k", "no keyword", "v", elementName);
  refuse(nullptr, "B", element, "v", null);
  refuse("N", nullptr, element, "v", null);
  refuse("N", "B", nullptr, "v", null);
  refuse("N", "B", element, nullptr, null);

  // Values that the document type would fold, on existing and new elements; elements that come from
  // an entity.
  const std::string folded = "white space", entity = "entity";
  for (const char* path : {"A&k= v", "A&k=v  w\\N", "N\\A&k=v ", "A\\M&k=v "})
    refuse(path, "N", element, "v", folded);
  for (const char* path : {"A", "N\\M"}) refuse(path, "k", attribute, " v", folded);
  refuse("B\\E", "N", element, "v", entity);
  refuse("B\\E", "k", attribute, "v", entity);
  for (const char* item : {"E", "E&k=v"}) refuse("B", item, element, "v", entity);
  refuse("", "B", element, "v", entity);
  EXPECT_EQ(SetXMLItem(document.list, document.cookie, "B\\E", "", "", ""), 0U)
      << "nothing is set there";
}

// With a reference to such an entity kept or dropped, the file would not say what was set.
TEST(SetItem, RefusesTextWithUnknownEntities) {
  const std::string type = "<!DOCTYPE R SYSTEM 'r.dtd' [<!ENTITY f SYSTEM 'f'><!ENTITY g '&f;'>]>",
                    known = "<K>&lt;&#9;</K>";
  for (const char* text : {"caf&eacute;", "&f;", "&g;", "<q/>&amp;&eacute;<q/>"}) {
    const auto file = [&](const char* before, const char* after) {
      return type + "<R><A" + before + ">" + text + after + "</A>" + known + "</R>";
    };
    SCOPED_TRACE(text);
    const TestDocument document(file(" k='caf&eacute;' m='&eacute;&amp;'", ""));
    LogLines log;
    EXPECT_EQ(document.SetText("", "A", "tea"), 34U);
    EXPECT_EQ(Reason(log.Take()),
              "the text refers to an entity that contains elements or is not known");
    EXPECT_EQ(document.Save(), 0U);
    EXPECT_EQ(document.Bytes(), file(" k='caf&eacute;' m='&eacute;&amp;'", ""));

    // An attribute is replaced whole, even by the value that it reads as. Elements can be added.
    EXPECT_EQ(document.Attribute("R", "A", "k"), "caf");
    EXPECT_EQ(document.SetAttribute("A", "k", "caf"), 0U);
    EXPECT_EQ(document.SetAttribute("A", "m", "n"), 0U);
    EXPECT_EQ(document.SetText("A", "N", "1"), 0U);
    EXPECT_EQ(document.Bytes(), file(" k='caf' m='n'", "<N>1</N>"));
    EXPECT_EQ(document.SetText("", "K", "2"), 0U);
    EXPECT_NE(document.Bytes().find("<K>2</K>"), std::string::npos);
  }
}

} // namespace
