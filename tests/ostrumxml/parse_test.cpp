#include <gtest/gtest.h>

#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using namespace std::string_literals;
using Ostrum::Element;

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
      // Tags that are long enough to be indexed
      "<r" + Repeat(" b@=''", 200) + " a='x'" + Repeat(" c@=''", 200) + "/>",
      "<r" + Repeat(" b@=''", 200) + "/>", "<r" + Repeat(" A@=''", 200) + "/>",
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

TEST(Parse, TheNullElementIsEmpty) {
  const Element none;
  EXPECT_TRUE(none.GetName().empty() && none.FirstChild().IsNull() && none.Text().IsNull());
  EXPECT_TRUE(none.GetAttribute("a").IsNull() && none.AttributeNames().empty());
  EXPECT_TRUE(none.NthChild(Ostrum::NameMatch::Prefix, "", 1).IsNull());
  EXPECT_FALSE(none.IsCreated() || none.CanBeChanged() || none.TextCanBeReplaced());
}

// Long values are remembered as accepted until they change. Their pieces end inside characters.
TEST(Parse, JudgesWholeValuesAsTheyAre) {
  const Ostrum::TextFilter valid{1, [](std::string_view text) { return Ostrum::IsUtf8(text); }};
  const Ostrum::TextFilter noY{2,
                               [](std::string_view text) { return text.find('y') == text.npos; }};
  const std::string value = "xx" + Repeat("\u20ac", 2000);
  const Parsed parsed("<r a='" + value + "'>" + value + "<b/></r>");
  Element root = parsed.At("");
  for (const bool isText : {true, false}) {
    for (const std::string_view set : Split("|y|z|z|y|z|y|y|z")) {
      const std::string changed = std::string(300, 'x').append(set);
      if (!set.empty() && isText) root.SetText(changed);
      if (!set.empty() && !isText) root.SetAttribute("a", changed);
      const Ostrum::Value judged = isText ? root.Text() : root.GetAttribute("a");
      for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(judged.IsAccepted(valid));
        EXPECT_EQ(judged.IsAccepted(noY), set != "y");
      }
    }
  }
}

// The bound on entities that refer to others does not count references that expand nothing.
TEST(Parse, BoundsEntitiesThatReferToOthers) {
  const auto error = [](std::string_view declaration, std::size_t count) {
    return Parsed("<!DOCTYPE r [" + Repeat(std::string(declaration), count) + "]><r/>").error;
  };
  for (const auto plain : Split("<!ENTITY e@ 'x&amp;&lt;&#38;#65;&#38; '>|"
                                "<!ENTITY % e@ '&amp;100&#37; &#37;'>"))
    EXPECT_EQ(error(plain, 1'001), Ostrum::NO_PARSER_ERROR) << plain;
  for (const auto bounded : Split("<!ENTITY e@ '&amp;&amp2;'>|<!ENTITY e@ '&lt;&\xC3\xA9;'>|"
                                  "<!ENTITY % e@ '&#37;amp;'>")) {
    EXPECT_EQ(error(bounded, 1'000), Ostrum::NO_PARSER_ERROR) << bounded;
    EXPECT_EQ(error(bounded, 1'001), Ostrum::TOO_MANY_ENTITIES) << bounded;
  }
}

} // namespace
