#include <gtest/gtest.h>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "text/convert.h"

namespace {

constexpr const char* element = "ELEMENT";
constexpr const char* attribute = "ATTRIBUTE";

// What a set does to a file: the whole file is compared, so everything that is not named must be as before.
const struct {
  const char *before, *path, *item, *type, *value, *after;
} setCases[] = {
    {"<?xml version='1.0'?>\n<!DOCTYPE R>\n<R  a = 'x' >\r\n\t<S><!-- k -->1<T/>2</S>\r\n</R >\n<!-- end -->\n", "R",
     "S", element, "3",
     "<?xml version='1.0'?>\n<!DOCTYPE R>\n<R  a = 'x' >\r\n\t<S><!-- k -->3<T/></S>\r\n</R >\n<!-- end -->\n"},
    {"<R>\n  <S>\n    <A>1</A>\n  </S>\n</R>", "R\\S", "T", element, "30",
     "<R>\n  <S>\n    <A>1</A>\n    <T>30</T>\n  </S>\n</R>"},
    // The root's name may be left out. What is missing is made, also in what has only text.
    {"<R><S>1</S></R>", "S", "T", element, "2", "<R><S>1<T>2</T></S></R>"},
    {"<R/>", "A\\B", "C", element, "x", "<R><A><B><C>x</C></B></A></R>"},
    {"<R/>", "", "A\\B", element, "x", "<R><A><B>x</B></A></R>"},
    {"<R><A>A</A></R>", "A", "A", element, "x", "<R><A>A<A>x</A></A></R>"},
    {"<R><A>x</A></R>", "", "A", element, "", "<R><A></A></R>"},
    // The first that begins with the name is taken. An attribute part never chooses; one without name or value is none.
    {"<R><Sets>1</Sets><Set>2</Set></R>", "R", "Set", element, "3", "<R><Sets>3</Sets><Set>2</Set></R>"},
    {"<R><A k='1'/><A k='2'>x</A></R>", "A&k=2", "B", element, "y", "<R><A k='2'><B>y</B></A><A k='2'>x</A></R>"},
    {"<R><N>1</N></R>", "R", "N&u=ms&x=", element, "2", "<R><N u=\"ms&amp;x=\">2</N></R>"},
    {"<R/>", "A&k=\\B&=v\\C&k\\D&", "E", element, "x", "<R><A><B><C><D><E>x</E></D></C></B></A></R>"},
    {"<R><S  Mode = 'Slow'\n/></R>", "R\\S", "Mode", attribute, "Fast", "<R><S  Mode = 'Fast'\n/></R>"},
    {"<R><S a='1' /></R>", "S", "Mode", attribute, "Fast", "<R><S a='1' Mode=\"Fast\" /></R>"},
    {"<R><S/></R>", "S", "k", attribute, "a\\b&c=d", "<R><S k=\"a\\b&amp;c=d\"/></R>"},
    {"<R/>", "A&u=1", "k", attribute, "2", "<R><A u=\"1\" k=\"2\"/></R>"},
    {"<R/>", "A&k=1", "k", attribute, "2", "<R><A k=\"2\"/></R>"},
    {"<R><A/></R>", "R", "k", attribute, "v", "<R k=\"v\"><A/></R>"},
    {"<R><A/></R>", "", "k", attribute, "v", "<R k=\"v\"><A/></R>"},
    {"<R><A/></R>", "R\\", "k", attribute, "v", "<R k=\"v\"><A/></R>"},
    // Without a name, a value or a keyword only the path is made, if it is not the root's.
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

// Element names and values in the locale's character set, and beside them what has no form in it.
TEST(SetItem, ReadsBackWhateverXmlCanCarry) {
  std::vector<std::wstring> values = {L" lead\r\n\t<&>\"']]>&amp;<!-- x -->-->%s a\\b&c=d\n ", L"\r", L"\u8868\u3042",
                                      L"\u20ac\U0001F600\u007F\u0085\u2028\ue000\ufffd"};
  for (const std::size_t length : {126U, 127U, 128U, 1U << 20}) values.emplace_back(length, L'm');
  const LocaleGuard locale(multibyteLocale);
  const MultiByteText item(ConvertToMultiByte(L"\u3042"));
  for (const std::int32_t encrypted : {0, 1}) {
    const std::string kept = "<!-- \U0001F600 --><\u4e2d k='\U0001F600'>\U0010FFFF</\u4e2d>";
    std::string bytes = "<Root a='0'>" + kept + "<\u3042>old</\u3042></Root>";
    ASSERT_TRUE(encrypted == 0 || corekit::KCryptWrap::encrypt_data(std::string(bytes), bytes));
    TestDocument document(bytes, encrypted);
    for (const std::wstring& wide : values) {
      const MultiByteText value(ConvertToMultiByte(wide));
      if (value == nullptr && !hasUtf8) continue;
      ASSERT_EQ(document.SetText("", item.get(), value.get()), 0U);
      ASSERT_EQ(document.SetAttribute("Root", "a", value.get()), 0U);
      for (int time = 0; time < 2; ++time, document.Reopen()) {
        EXPECT_STREQ(document.Text("Root", item.get()).c_str(), value.get());
        EXPECT_STREQ(document.Attribute("Root", "Root", "a").c_str(), value.get());
      }
    }
    bytes = document.Bytes();
    EXPECT_EQ(bytes.starts_with("TVK1"), encrypted != 0);
    EXPECT_TRUE(encrypted == 0 || corekit::KCryptWrap::decrypt_data(bytes, bytes));
    EXPECT_NE(bytes.find(kept), bytes.npos);
  }
}

TEST(SetItem, EntersWhatItMakesIntoTheMap) {
  const TestDocument document("<Root><Found><x/></Found><A>1</A><A k='second'>2</A></Root>");
  const auto isKey = [&](const char* path) {
    return GetXMLItem(document.list, document.cookie, path, "", "NODE", "", "", nullptr, 0) == 0;
  };
  ASSERT_EQ(document.SetText("Root\\Found", "New", "n"), 0U);
  ASSERT_EQ(document.SetAttribute("Found\\Item&unit=ms", "kind", "x"), 0U);
  ASSERT_EQ(document.SetAttribute("Root", "k", "v"), 0U);
  for (const char* key : {"Found\\New", "Found\\Item", "Found\\Item&unit=ms", "Found\\Item&unit=ms&kind=x"}) {
    EXPECT_TRUE(isKey(key)) << key;
  }
  for (const char* key : {"Found", "New", "&k=v"}) EXPECT_FALSE(isKey(key)) << key;

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
  const std::string unknown = std::to_string(~document.cookie);
  LogLines log;
  ASSERT_EQ(document.SetText("Root\\S", "T&k=v", "1"), 0U);
  EXPECT_EQ(SetXMLItem(document.list, ~document.cookie, "S", "T", "ELEMENT", "x"), 3U);
  EXPECT_EQ(log.Take(),
            (std::vector<std::string>{
                "Found " + document.Name() + " (" + std::to_string(document.cookie) + ") in the xml file list.",
                "Root\\S is a group", "Removed Root from Root\\S.", "S (element) not found in the element map.",
                "T not found in the element map.", "Failed to find " + unknown + " (cookie) in the xml file list.",
                "error: Failed to get the xml representation for the xml with id " + unknown}));
}

// Nearly every one names an element that is missing first, which must not be made.
TEST(SetItem, RefusesBeforeItChangesAnything) {
  const LocaleGuard locale(multibyteLocale);
  const std::string bytes =
      "<!DOCTYPE R [<!ENTITY e '<E>1</E>'><!ATTLIST A k NMTOKENS #IMPLIED><!ATTLIST M k ID "
      "#IMPLIED>]>\n<R><A>1</A><B>&e;</B></R>";
  const TestDocument document(bytes);
  LogLines log;
  const auto expectRefusal = [&](const char* path, const char* item, const char* type, const char* value) {
    SCOPED_TRACE(testing::PrintToString(path) + testing::PrintToString(item) + testing::PrintToString(value));
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, path, item, type, value), 34U);
    const std::vector<std::string> lines = log.Take();
    EXPECT_EQ(lines.back(), "error: Unknown error while setting xml");
    EXPECT_EQ(document.Save(), 0U);
    EXPECT_EQ(document.Bytes(), bytes);
    return lines.size() < 2 ? std::string() : lines[lines.size() - 2];
  };
  constexpr const char* noElement = "error: Failed to add element to parent node. Cannot continue";
  for (const char* path : {"N\\\\A", "\\N", "N\\", "N\\&k=v", "R\\\\N", "N\\1"}) {
    EXPECT_EQ(expectRefusal(path, "B", element, "v"), noElement);
  }
  for (const char* path : {"N\\A&k=\x02", "N\\\xFF"}) expectRefusal(path, "B", element, "v");
  for (const char* path : {"\\", "N\\A\\"}) expectRefusal(path, "k", attribute, "v");
  for (const char* item : {"", "&k=v", "a b"}) EXPECT_EQ(expectRefusal("N", item, element, "v"), noElement);
  for (const char* item : {"A&1=v", "\xFF"}) expectRefusal("N", item, element, "v");
  for (const char* item : {"a=b", "a\\b", "1", "\xFF"}) expectRefusal("N", item, attribute, "v");
  for (const char* value : {"a\x01z", "\xFF"}) expectRefusal("N", "B", element, value);
  for (const char* value : {"a\x01z", "\xFF"}) expectRefusal("N", "k", attribute, value);
  for (const char* path : {"", "R", "R\\"}) expectRefusal(path, "", element, "v");
  expectRefusal("N\\A\\", "k", "no keyword", "v");
  expectRefusal(nullptr, "B", element, "v");
  expectRefusal("N", nullptr, element, "v");
  expectRefusal("N", "B", nullptr, "v");
  expectRefusal("N", "B", element, nullptr);

  // What the document type would fold, on elements that are there and on new ones; what has no place of its own in the file.
  for (const char* path : {"A&k= v", "A&k=v  w\\N", "N\\A&k=v ", "A\\M&k=v "}) {
    EXPECT_NE(expectRefusal(path, "N", element, "v").find("ostrumxml: "), std::string::npos);
  }
  for (const char* path : {"A", "N\\M"}) expectRefusal(path, "k", attribute, " v");
  for (const char* item : {"E", "N"}) expectRefusal("B\\E", item, element, "v");
  EXPECT_NE(expectRefusal("B\\E", "k", attribute, "v").find("ostrumxml: "), std::string::npos);
  for (const char* item : {"E", "E&k=v"}) expectRefusal("B", item, element, "v");
  expectRefusal("", "B", element, "v");
  EXPECT_EQ(SetXMLItem(document.list, document.cookie, "B\\E", "", "", ""), 0U) << "nothing is set there";
}

} // namespace
