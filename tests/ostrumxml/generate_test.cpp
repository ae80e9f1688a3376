#include <gtest/gtest.h>

#include <functional>

#include "host/ostrumxml/characters.h"
#include "ostrumxml/parsed_document.h"

namespace {

void SetText(Ostrum::Element& element, std::string_view text) {
  static_cast<Ostrum::Value>(element).Set(Wide(text).c_str());
}

void SetAttribute(Ostrum::Element& element, std::string_view name, std::string_view value) {
  Ostrum::Attribute attribute = element.GetAttribute(Wide(name).c_str());
  if (attribute.IsNull()) attribute = element.CreateAttribute(Wide(name).c_str());
  static_cast<Ostrum::Value>(attribute).Set(Wide(value).c_str());
}

Ostrum::Element& Add(Ostrum::Element& parent, std::string_view name) {
  return parent.AddElementInto(Wide(name).c_str());
}

TEST(Generate, GivesBackEveryByteThatWasNotSet) {
  const char* sources[] = {
      "<r/>",
      "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone=\"yes\" ?>\r\n<!DOCTYPE r [\n<!ENTITY e 'x'>\n"
      "<!ATTLIST r d CDATA 'q'>]>\n<?pi a  b?><!-- c -->\r\n<r  a = '1'\n\tb=\"&#50;\" >&e;\r\n<a /><b\n/><c></c >"
      "<![CDATA[ <z> ]]>\t&amp;&#x41;</r >\n<!-- end -->\n\n",
  };
  for (const char* source : sources) {
    const Parsed parsed(source);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed.Generate(), source);
    // What is there already is no change either.
    SetText(parsed.At(""), parsed.Text(""));
    EXPECT_EQ(parsed.Generate(), source);
  }
}

TEST(Generate, ChangesOnlyTheBytesOfWhatWasSet) {
  const struct {
    const char* before;
    std::function<void(const Parsed&)> change;
    const char* after;
  } cases[] = {
      // Text
      {"<r><a>1</a>\n</r>", [](const Parsed& p) { SetText(p.At("a"), "2"); }, "<r><a>2</a>\n</r>"},
      {"<r><a/></r>", [](const Parsed& p) { SetText(p.At("a"), "2"); }, "<r><a>2</a></r>"},
      {"<r><a x='/' /></r>", [](const Parsed& p) { SetText(p.At("a"), "2"); }, "<r><a x='/'>2</a></r>"},
      {"<r><a></a ></r>", [](const Parsed& p) { SetText(p.At("a"), "2"); }, "<r><a>2</a ></r>"},
      {"<r><a>1</a></r>", [](const Parsed& p) { SetText(p.At("a"), ""); }, "<r><a></a></r>"},
      {"<r><!-- c -->1<b/>&amp;<![CDATA[2]]><?p q?> </r>", [](const Parsed& p) { SetText(p.At(""), "3"); },
       "<r><!-- c -->3<b/><?p q?></r>"},
      {"<r><!-- c --><b/></r>", [](const Parsed& p) { SetText(p.At(""), "3"); }, "<r>3<!-- c --><b/></r>"},
      {"<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY f SYSTEM 'y'>]><r>&e;&f;&lt;</r>",
       [](const Parsed& p) { SetText(p.At(""), "z"); },
       "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY f SYSTEM 'y'>]><r>z&f;</r>"},
      // Attributes
      {"<r a='1' b = \"2\"/>", [](const Parsed& p) { SetAttribute(p.At(""), "a", "'\"<&"); },
       "<r a='&apos;\"&lt;&amp;' b = \"2\"/>"},
      {"<r a='1' b = \"2\"/>", [](const Parsed& p) { SetAttribute(p.At(""), "b", "'\"\t\n\r"); },
       "<r a='1' b = \"'&quot;&#9;&#10;&#13;\"/>"},
      {"<r a='1'\n>", [](const Parsed&) {}, nullptr},
      {"<r a='1'\n></r>", [](const Parsed& p) { SetAttribute(p.At(""), "c", "3"); }, "<r a='1' c=\"3\"\n></r>"},
      {"<r />", [](const Parsed& p) { SetAttribute(p.At(""), "c", "3"); }, "<r c=\"3\" />"},
      {"<!DOCTYPE r [<!ATTLIST r d CDATA 'q'>]><r/>", [](const Parsed& p) { SetAttribute(p.At(""), "d", "z"); },
       "<!DOCTYPE r [<!ATTLIST r d CDATA 'q'>]><r d=\"z\"/>"},
      {"<r />",
       [](const Parsed& p) {
         SetAttribute(p.At(""), "c", "3");
         SetText(p.At(""), "t");
         Add(p.At(""), "n");
       },
       "<r c=\"3\">t<n/></r>"},
      // New elements
      {"<r>\r\n\t<a/>\r\n</r>", [](const Parsed& p) { SetText(Add(p.At(""), "n"), "1"); },
       "<r>\r\n\t<a/>\r\n\t<n>1</n>\r\n</r>"},
      {"<r>\n  <a/>\n  <!-- c -->\n</r>",
       [](const Parsed& p) {
         Add(p.At(""), "n");
         Add(p.At(""), "m");
       },
       "<r>\n  <a/>\n  <!-- c -->\n  <n/>\n  <m/>\n</r>"},
      {"<r>\n  <a/></r>", [](const Parsed& p) { Add(p.At(""), "n"); }, "<r>\n  <a/>\n  <n/></r>"},
      {"<r><a/> </r>", [](const Parsed& p) { Add(Add(p.At(""), "n"), "m"); }, "<r><a/> <n><m/></n></r>"},
      {"<r>\n</r>", [](const Parsed& p) { Add(p.At(""), "n"); }, "<r>\n<n/></r>"},
      {"<r>\n <a/>\n</r>",
       [](const Parsed& p) {
         SetText(p.At(""), "t");
         Add(p.At(""), "n");
       },
       "<r>t<a/><n/></r>"},
      {"<r>\n <a/>\n</r>",
       [](const Parsed& p) {
         Add(p.At(""), "n");
         SetText(p.At(""), "t");
       },
       "<r>t<a/><n/></r>"},
      {"<r><a><b>1</b></a><a/></r>",
       [](const Parsed& p) {
         SetText(p.At("a/b"), "2");
         SetText(p.At("a"), "t");
         Add(p.At("a"), "c");
         Add(p.At(""), "d");
       },
       "<r><a>t<b>2</b><c/></a><a/><d/></r>"},
  };
  for (const auto& [before, change, after] : cases) {
    const Parsed parsed(before);
    if (after == nullptr) {
      EXPECT_FALSE(parsed);
      continue;
    }
    ASSERT_TRUE(parsed) << before;
    change(parsed);
    EXPECT_EQ(parsed.Generate(), after);
    // What the document says of itself now is what it says when read again.
    const Parsed again(after);
    ASSERT_TRUE(again);
    for (const char* path : {"", "a", "a/b", "n", "n/m"}) EXPECT_EQ(parsed.Text(path), again.Text(path)) << after;
    for (const char* name : {"a", "b", "c", "d"}) EXPECT_EQ(parsed.AttributeOf("", name), again.AttributeOf("", name));
  }
}

TEST(Generate, CarriesEveryValue) {
  const std::string values[] = {"",
                                " ",
                                "\t",
                                "\r",
                                "\n",
                                "\r\n",
                                " a ",
                                "<b/>",
                                "&amp;",
                                "]]>",
                                "]]",
                                "\"'",
                                "a\rb\nc\td",
                                "\xC3\xA9\xEF\xBF\xBD\xF0\x9F\x98\x80",
                                "\xC2\x85\xE2\x80\xA8",
                                std::string(1'000'000, '&')};
  for (const std::string& value : values) {
    const Parsed parsed("<r a='1'><e>x</e><c/></r>");
    SetText(parsed.At("e"), value);
    SetText(Add(parsed.At(""), "n"), value);
    SetAttribute(parsed.At(""), "a", value);
    SetAttribute(parsed.At("c"), "b", value);
    const Parsed again(parsed.Generate());
    ASSERT_TRUE(again);
    EXPECT_EQ(again.Text("e"), value);
    EXPECT_EQ(again.Text("n"), value);
    EXPECT_EQ(again.AttributeOf("", "a"), value);
    EXPECT_EQ(again.AttributeOf("c", "b"), value);
  }
}

TEST(Generate, RefusesWhatXmlCannotCarry) {
  const Parsed parsed("<!DOCTYPE r [<!ATTLIST r t NMTOKEN #IMPLIED>]><r t='x'/>");
  for (const wchar_t* text : {L"\x01", L"a\x1F", L"\xFFFE", L"\xFFFF", L"\xD800", L"\xDC00x"}) {
    EXPECT_FALSE(Ostrum::IsXmlText(text));
    EXPECT_THROW(static_cast<Ostrum::Value>(parsed.At("")).Set(text), std::invalid_argument);
  }
  EXPECT_THROW(SetAttribute(parsed.At(""), "t", " a  b"), std::invalid_argument);
  EXPECT_THROW(SetText(Ostrum::Element::null, "x"), std::invalid_argument);
  for (const wchar_t* name : {L"", L"1a", L"a b", L"a>", L"a/", L"-a", L"a=", L"\x00E9 b", L"\x00D7", L"\x00E9><b"}) {
    EXPECT_FALSE(Ostrum::IsXmlName(name));
    EXPECT_TRUE(parsed.At("").AddElementInto(name).IsNull());
    EXPECT_TRUE(parsed.At("").CreateAttribute(name).IsNull());
  }
  for (const wchar_t* name : {L"a", L"_:a-.1", L"\x00E9t\x00E9", L"\x65E5"}) EXPECT_TRUE(Ostrum::IsXmlName(name));
  EXPECT_TRUE(parsed.At("").CreateAttribute(L"t").IsNull());
  EXPECT_TRUE(Ostrum::Element::null.AddElementInto(L"a").IsNull());
  EXPECT_EQ(parsed.Generate(), "<!DOCTYPE r [<!ATTLIST r t NMTOKEN #IMPLIED>]><r t='x'/>");
}

} // namespace
