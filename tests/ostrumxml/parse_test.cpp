#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"
#include "support/log_lines.h"

namespace {

TEST(Parse, ReadsValuesAsXmlMeansThem) {
  const struct {
    const char* source;
    const char* text; // of the root
    const char* attribute = "(none)";
  } cases[] = {
      {"<r>  a b \t</r>", "  a b \t"},
      {"<r>one\r\ntwo\rthree\n</r>", "one\ntwo\nthree\n"},
      {"<r>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&#13;&#x1F600;</r>", "<&>\"'AB\r\xF0\x9F\x98\x80"},
      {"<r>a<![CDATA[<&amp;]]\r\n>]]><!-- -> no &amp; --><?p no?>b</r>", "a<&amp;]]\n>b"},
      {"<r>a<c>no<d/></c>b<c/>e</r>", "abe"},
      {"<r a=\"\"></r>", "", ""},
      {"<r a = '\"x>/'/>", "", "\"x>/"},
      {"<r b='1' a\r\n=\t\"x\r\ny\tz&#10;&#9;\" />", "", "x y z\n\t"},
      {"<r ba='no' aa='no' a='&lt;&#65;' >1</r>", "1", "<A"},
      {"<r aa='no' b=' a=&apos;x&apos; '/>", ""},
      // What only the document type tells.
      {"<!DOCTYPE r [<!ENTITY e 'E&#38;f;'><!ENTITY f '&lt;F'>]><r a='1&e;'>x&e;y</r>", "xE<Fy", "1E<F"},
      {"<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r>&e;z&#65;<![CDATA[&e;]]></r>", "zA&e;"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA 'first' a CDATA 'later'>]><r/>", "", "first"},
      {"<!DOCTYPE r [<!ATTLIST r a NMTOKENS #IMPLIED>]><r a='  b \n c '/>", "", "b c"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA #IMPLIED><!ATTLIST s a CDATA 'no'>]><r/>", ""},
  };
  for (const auto& [source, text, attribute] : cases) {
    const Parsed parsed(source);
    ASSERT_NE(parsed.document, nullptr) << source;
    EXPECT_EQ(parsed.Text(""), text) << source;
    EXPECT_EQ(parsed.Attribute("", L"a"), attribute) << source;
  }
}

TEST(Parse, IndexesChildrenInRunsOfEqualNames) {
  const Parsed parsed("<r><a/>t<a>1</a><!-- a --><b/><a/><c/><c/><c><a/></c></r>");
  Ostrum::Element& root = parsed.document->GetRoot();
  const auto runs = [&root] {
    std::wstring text;
    for (auto child = root.Begin(); !(child == root.End()); child.Skip(child.RunLength())) {
      text += child->GetName() + std::to_wstring(child.RunLength());
    }
    return text;
  };
  EXPECT_EQ(runs(), L"a2b1a1c3");
  for (const wchar_t* name : {L"c", L"d", L"d"}) ASSERT_FALSE(root.AddElementInto(name).IsNull());
  EXPECT_EQ(runs(), L"a2b1a1c4d2");
}

TEST(Parse, RefusesWithPlaceAndReason) {
  const struct {
    const char* source;
    const char* line;
  } cases[] = {
      {"", "1:1: no element found"},
      {"plain text", "1:1: syntax error"},
      {"<r>\n  <a></b>\n</r>", "2:8: mismatched tag"},
      {"<r>\n<a>", "2:4: no element found"},
      {"<r a='1' a='2'/>", "1:10: duplicate attribute"},
      {"<r>\xC3\xA9&nowhere;</r>", "1:5: undefined entity"},
      {"<r/><s/>", "1:5: junk after document element"},
      {"<r>\x01</r>", "1:4: not well-formed (invalid token)"},
      {"<!DOCTYPE r [<!ENTITY e '<b/>'>]><r>&e;</r>", "1:37: elements that come from an entity are not supported"},
  };
  for (const auto& [source, line] : cases) {
    LogLines log;
    const Parsed parsed(source);
    EXPECT_EQ(parsed.document, nullptr);
    EXPECT_NE(parsed.error, 0) << source;
    EXPECT_EQ(log.Take(), std::vector{std::string("ostrumxml: ") + line});
  }
}

// Where wide characters have 16 bits, one beyond the first 65,536 takes two of them, in the given length too.
TEST(Parse, TakesCharactersOfTwoWideUnits) {
  const std::string source = "<r a='\xF0\x9F\x98\x80'>x\xF0\x90\x80\x80\xF4\x8F\xBF\xBF</r>";
  const auto length = static_cast<int>(Wide(source).size());
  for (const int given : {length - 1, length, length + 1}) {
    Parsed parsed("<r/>");
    parsed.document.reset(Ostrum::ParseXML({source + "<no", static_cast<std::size_t>(length) + 3}, given, parsed.error,
                                           parsed.line, parsed.column));
    ASSERT_EQ(parsed.document != nullptr, given == length) << given;
    if (parsed.document == nullptr) continue;
    Ostrum::Element& root = parsed.document->GetRoot();
    EXPECT_EQ(root.GetValue(), L"x\U00010000\U0010FFFF");
    EXPECT_EQ(root.GetAttribute(L"a").GetValue(), L"\U0001F600");
    static_cast<Ostrum::Value>(root).Set(L"\U0001F601");
    static_cast<Ostrum::Value>(root.CreateAttribute(L"b")).Set(L"\U00020000y");
    EXPECT_EQ(parsed.Generate(), "<r a='\xF0\x9F\x98\x80' b=\"\xF0\xA0\x80\x80y\">\xF0\x9F\x98\x81</r>");
    EXPECT_EQ(parsed.document->GenerateXML(false).Length(), Wide(parsed.Generate()).size());
    EXPECT_EQ(root.GetAttribute(L"b").GetValue(), L"\U00020000y");
  }
}

} // namespace
