#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"
#include "support/log_lines.h"

namespace {

TEST(Parse, ReadsValuesAsXmlMeansThem) {
  const struct {
    std::string bytes, text; // of the root
    const char* attribute = "(none)";
  } cases[] = {
      {"<r>  one\r\ntwo\rthree\n\t</r>", "  one\ntwo\nthree\n\t"},
      {"<r>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&#13;&#x1F600;</r>", "<&>\"'AB\r\xF0\x9F\x98\x80"},
      {"<r>a<![CDATA[<&amp;]]\r\n>]]><!-- -> no &amp; --><?p no?>b</r>", "a<&amp;]]\n>b"},
      {"<r>a<c>no<d/></c>b<c/>e</r>", "abe"},
      {"<r a = '\"x>/'/>", "", "\"x>/"},
      {"<r b='1' a\r\n=\t\"x\r\ny\tz&#10;&#9;\" />", "", "x y z\n\t"},
      {"<r ba='no' aa='no' a='&lt;&#65;' >1</r>", "1", "<A"},
      {"<r aa='no' b=' a=&apos;x&apos; '/>", ""},
      // What only the document type tells.
      {"<!DOCTYPE r [<!ENTITY e 'E&#38;f;'><!ENTITY f '&lt;F'>]><r a='1&e;'>x&e;y</r>", "xE<Fy", "1E<F"},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r>&e;z&#65;<![CDATA[&e;]]></r>", "zA&e;"},
      {"<!DOCTYPE r [<!ENTITY % p \"<!ENTITY e 'told'>\">%p;]><r>&e;</r>", "told"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA 'first' a CDATA 'later'>]><r/>", "", "first"},
      {"<!DOCTYPE r [<!ATTLIST r a NMTOKENS #IMPLIED>]><r a='  b \n c '/>", "", "b c"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA #IMPLIED><!ATTLIST s a CDATA 'no'>]><r/>", ""},
      {"\xEF\xBB\xBF<r>\xC3\xA9</r>", "\xC3\xA9"},
  };
  for (const auto& [bytes, text, attribute] : cases) {
    const Parsed parsed(bytes);
    ASSERT_NE(parsed.document, nullptr) << bytes;
    EXPECT_EQ(parsed.Text(""), text) << bytes;
    EXPECT_EQ(parsed.Attribute("a"), attribute) << bytes;
  }
}

// The parser gets so large a document in pieces, which end anywhere.
TEST(Parse, KeepsPlacesInADocumentOfManyMegabytes) {
  std::string bytes = "<r>";
  while (bytes.size() < 34'000'000) bytes += "<n a='\xC3\xA9'>&amp;\xF0\x9F\x98\x80</n>";
  const Parsed parsed(bytes + "<z>end</z></r>");
  EXPECT_EQ(parsed.Text("z"), "end");
  std::size_t wrong = 0;
  for (auto child = parsed.At("").Begin(); child->GetName() == "n"; ++child) {
    if (child->GetValue() != "&\xF0\x9F\x98\x80" || child->GetAttribute("a").GetValue() != "\xC3\xA9") ++wrong;
  }
  EXPECT_EQ(wrong, 0U);
}

TEST(Parse, RefusesWithPlaceAndReason) {
  const std::pair<std::string, std::string> cases[] = {
      {"plain text", "1:1: syntax error"},
      {"<r>\n  <a></b>\n</r>", "2:8: mismatched tag"},
      {"<r a='1' a='2'/>", "1:10: duplicate attribute"},
      {"<r>\xC3\xA9&nowhere;</r>", "1:5: undefined entity"},
      {"<r>\x01</r>", "1:4: not well-formed (invalid token)"},
  };
  for (const auto& [bytes, line] : cases) {
    LogLines log;
    const Parsed parsed(bytes);
    EXPECT_EQ(parsed.document, nullptr);
    EXPECT_EQ(parsed.result, Ostrum::ReadDone);
    EXPECT_NE(parsed.error, 0);
    EXPECT_EQ(testing::PrintToString(log.Take()), "{ \"ostrumxml: " + line + "\" }");
  }
}

TEST(Parse, ReadsElementsThatStandInEntities) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY in \"<i k='&#38;v;'>&#38;v;</i>\"><!ENTITY v 'w'><!ENTITY e '1<a/>2<b x=\"1\">&in;3</b "
      ">4'>]>"
      "<r>A&e;<c/>&in;&in;B<d>&v;&e;</d></r>");
  ASSERT_NE(parsed.document, nullptr);
  std::string names;
  for (auto child = parsed.At("").Begin(); !(child == parsed.At("").End()); ++child) {
    (names += child->GetName()) += child->CanBeChanged() ? "! " : " ";
  }
  EXPECT_EQ(names, "a b c! i i d! ");
  EXPECT_EQ(parsed.Text(""), "A124B");
  EXPECT_EQ(parsed.Text("b"), "3");
  EXPECT_EQ(parsed.Text("b/i"), "w");
  EXPECT_EQ(parsed.Text("d"), "w124");
  EXPECT_EQ(parsed.Text("d/b/i"), "w");
  EXPECT_EQ(parsed.At("d/b/i").GetAttribute("k").GetValue(), "w");
  EXPECT_EQ(parsed.At("d/b").GetAttribute("x").GetValue(), "1");

  const std::string before = parsed.Generate();
  EXPECT_TRUE(parsed.At("a").AddElementInto("n").IsNull());
  EXPECT_TRUE(parsed.At("b").CreateAttribute("n").IsNull());
  EXPECT_THROW(static_cast<Ostrum::Value>(parsed.At("b").GetAttribute("x")).Set("2"), std::invalid_argument);
  for (const char* path : {"a", "", "d"}) {
    EXPECT_THROW(static_cast<Ostrum::Value>(parsed.At(path)).Set("t"), std::invalid_argument) << path;
  }
  EXPECT_EQ(parsed.Generate(), before);
  static_cast<Ostrum::Value>(parsed.At("").AddElementInto("n")).Set("new");
  static_cast<Ostrum::Value>(parsed.At("c")).Set("set");
  std::string after = before;
  after.replace(after.find("<c/>"), 4, "<c>set</c>").insert(after.rfind("</r>"), "<n>new</n>");
  EXPECT_EQ(parsed.Generate(), after);
}

// What is read of a value is its beginning, however it stands in the source.
TEST(Parse, ReadsNoMoreThanIsAsked) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY e 'x&#38;#13;\ny'>]><r a='&e;\tb&#9;c'>&e;\r\n<![CDATA[1\r2]]>&e;<b/>&e;</r>");
  const std::string text = "x\r\ny\n1\n2x\r\nyx\r\ny";
  const std::string value = "x\r y b\tc";
  std::string scratch;
  for (std::size_t limit = 0; limit <= text.size(); ++limit) {
    EXPECT_EQ(parsed.At("").GetValue(scratch, limit).substr(0, limit), text.substr(0, limit)) << limit;
    EXPECT_EQ(parsed.At("").GetAttribute("a").GetValue(scratch, limit).substr(0, limit), value.substr(0, limit))
        << limit;
  }
}

} // namespace
