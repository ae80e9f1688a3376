#include <gtest/gtest.h>

#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using namespace std::string_literals;
using Ostrum::Element;

// Eight bytes are checked at a time, so every position is tried.
TEST(Markup, TextThatNeedsNoDecoding) {
  for (const std::size_t size : {1U, 7U, 8U, 9U, 20U}) {
    for (std::size_t place = 0; place < size; ++place) {
      std::string text(size, 'a');
      for (const char needed : "&<\x1F\n"s) {
        text[place] = needed;
        EXPECT_FALSE(Ostrum::NeedsNoDecoding(text)) << size << ' ' << place;
      }
      for (const char plain : " %=\x7F\x80\xFF"s) {
        text[place] = plain;
        EXPECT_TRUE(Ostrum::NeedsNoDecoding(text)) << size << ' ' << place;
      }
    }
  }
}

TEST(References, KeepWhatAParserWouldChange) {
  EXPECT_EQ(Ostrum::EscapeText("a&<>\r\n\t\"'\u20ac"), "a&amp;&lt;&gt;&#13;\n\t\"'\u20ac");
  EXPECT_EQ(Ostrum::EscapeAttribute("&<>\"'\t\n\r", '"'), "&amp;&lt;>&quot;'&#9;&#10;&#13;");
  EXPECT_EQ(Ostrum::EscapeAttribute("\"'", '\''), "\"&apos;");
}

TEST(Parse, ReadsWhatExpatReads) {
  const std::string documents[] = {
      // Long text is read in pieces, which never end between "\r" and "\n".
      "<r>"s + std::string(4095, 'x') + "\r\n>]]&#65;\r<!--<a>-> --></r>",
      "<r>  one\r\ntwo\rthree\n\t</r>",
      "<r>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&#13;&#x1F600;\xC3\xA9</r>",
      "<r>a<![CDATA[<&amp;]]\r\n>]]><!-- -> no &amp; --><?p no?>b<c>no<d/></c>b<c/>e</r>",
      "<r><s a = '\"x>/'/><s b='1' a\r\n=\t\"x\r\ny\tz&#10;&#9;\" /><s aa='no' b=' "
      "a=&apos;x&apos; '/></r>",
      "<r ba='no' aa='no' a='&lt;&#65;' >1</r>",
      "<!DOCTYPE r [<!ENTITY e 'E&#38;f;'><!ENTITY f '&lt;F'>]><r a='1&e;'>x&e;y</r>",
      "<!DOCTYPE r [<!ENTITY e 'x&#13;\n&#13;y'>]><r a='&e;\tb'>&e;\r\n<![CDATA[1\r2]]>&e;</r>",
      "<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r>&e;z&#65;<![CDATA[&e;]]></r>",
      "\xEF\xBB\xBF<!DOCTYPE r [<!ENTITY % p \"<!ENTITY e 'told'>\">%p;]><r>&e;</r>",
      "<!DOCTYPE r [<!ATTLIST r a CDATA 'first' a CDATA 'later'><!ATTLIST s a NMTOKENS "
      "#IMPLIED>]>"
      "<r><s a='  b \n c '/><s a=' b  c '/><s/></r>",
      "<!DOCTYPE r [<!ENTITY in \"<i a='&#38;v;'>&#38;v;</i>\"><!ENTITY v 'w'><!ENTITY e "
      "'1<a/>2<b a=\"1\">&in;3</b >4'>]><r>A&e;<c/>&in;&in;B<d>&v;&e;</d></r>"};
  for (const std::string& bytes : documents) {
    const Parsed parsed(bytes);
    ASSERT_NE(parsed.document, nullptr) << bytes;
    EXPECT_EQ(Describe(parsed.At("")), DescribeByExpat(bytes));
    EXPECT_EQ(parsed.Generate(), bytes);
  }
}

// By their names, also in a tag that is long enough to be indexed.
TEST(Parse, FindsEachAttribute) {
  for (const int count : {3, 300}) {
    std::string tag = "<r";
    for (int i = 0; i < count; ++i)
      tag += " n" + std::to_string(i) + "='" + std::to_string(i) + "'";
    const Parsed parsed(tag + "/>");
    for (int i = 0; i < count; ++i)
      EXPECT_EQ(parsed.At("").GetAttribute("n" + std::to_string(i)).GetValue(), std::to_string(i));
    for (const char* const none : {"n", "m", "n00", "n1x", "z"})
      EXPECT_TRUE(parsed.At("").GetAttribute(none).IsNull()) << none;
  }
}

// Long values are remembered as accepted until they change. Their pieces end inside characters.
TEST(Parse, JudgesWholeValuesAsTheyAre) {
  const Ostrum::TextFilter valid{1, [](std::string_view text) { return Ostrum::IsUtf8(text); }};
  const Ostrum::TextFilter noY{2,
                               [](std::string_view text) { return text.find('y') == text.npos; }};
  static const std::string value = "xx" + Repeat("\u20ac", 2000);
  const struct {
    void (*edit)(Element);
    const char* accepted;
  } rows[] = {{[](Element element) { element.RemoveAttribute("d"); }, "ta-"},
              {[](Element element) { element.SetText(value + "y"); }, "-ad"},
              {[](Element element) { element.SetAttribute("a", value + "y"); }, "t-d"}};
  for (const auto& [edit, accepted] : rows) {
    const Parsed parsed("<!DOCTYPE r [<!ATTLIST r d CDATA 'y'>]><r a='" + value + "' d='" + value +
                        "'>" + value + "<b/></r>");
    const Element root = parsed.At("");
    const auto judge = [&](const Ostrum::TextFilter& filter) {
      return std::string{root.Text().IsAccepted(filter) ? 't' : '-',
                         root.GetAttribute("a").IsAccepted(filter) ? 'a' : '-',
                         root.GetAttribute("d").IsAccepted(filter) ? 'd' : '-'};
    };
    for (const Ostrum::TextFilter& filter : {valid, noY, noY}) EXPECT_EQ(judge(filter), "tad");
    edit(root);
    EXPECT_EQ(judge(noY), accepted);
    EXPECT_EQ(judge(valid), "tad");
  }
}

// The bound on entities that refer to others does not count references that expand nothing.
TEST(Parse, BoundsEntitiesThatReferToOthers) {
  for (const auto& [declaration, refersToOthers] :
       {std::pair("<!ENTITY e@ 'x&amp;&lt;&#38;#65;&#38; '>", false),
        {"<!ENTITY % e@ '&amp;100&#37; &#37;'>", false},
        {"<!ENTITY e@ '&amp;&amp2;'>", true},
        {"<!ENTITY e@ '&lt;&\xC3\xA9;'>", true},
        {"<!ENTITY % e@ '&#37;amp;'>", true}}) {
    for (const std::size_t count : {1'000U, 1'001U}) {
      const Parsed parsed("<!DOCTYPE r [" + Repeat(declaration, count) + "]><r/>");
      const bool isRefused = refersToOthers && count > 1'000;
      EXPECT_EQ(parsed.error, isRefused ? Ostrum::TOO_MANY_ENTITIES : Ostrum::NO_PARSER_ERROR)
          << declaration << count;
    }
  }
}

} // namespace
