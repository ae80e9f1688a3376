#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"
#include "support/log_lines.h"

namespace {

std::string Repeat(std::string_view text, std::size_t times) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

TEST(Parse, ReadsValuesAsXmlMeansThem) {
  const struct {
    const char* source; // the element r holds it
    const char* text;
  } texts[] = {
      {"", ""},
      {"  a b \t", "  a b \t"},
      {"one\r\ntwo\rthree\n", "one\ntwo\nthree\n"},
      {"&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&#13;&#x1F600;", "<&>\"'AB\r\xF0\x9F\x98\x80"},
      {"a<![CDATA[<&amp;]]\r\n>]]>b", "a<&amp;]]\n>b"},
      {"a<!-- -> no &amp; --><?p no?>b", "ab"},
      {"a<c>no<d/></c>b<c/>e", "abe"},
      {"caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80"},
  };
  for (const auto& [source, text] : texts) {
    const Parsed parsed(std::string("<r>") + source + "</r>");
    ASSERT_TRUE(parsed) << source;
    EXPECT_EQ(parsed.Text(""), text) << source;
  }

  const struct {
    const char* source;
    const char* value;
  } attributes[] = {
      {"a=\"\"", ""},
      {"a = '\"x>/'", "\"x>/"},
      {"b='1' a\r\n=\t\"x\r\ny\tz&#10;&#9;\"", "x y z\n\t"},
      {"ba='no' a='&lt;&#65;'", "<A"},
      {"aa='no'", "(none)"},
  };
  for (const auto& [source, value] : attributes) {
    for (const char* end : {"/>", " ></r>"}) {
      const Parsed parsed(std::string("<r ") + source + end);
      ASSERT_TRUE(parsed) << source;
      EXPECT_EQ(parsed.AttributeOf("", "a"), value) << source;
    }
  }
}

TEST(Parse, IndexesChildrenInRunsOfEqualNames) {
  const Parsed parsed("<r><a/>t<a>1</a><!-- a --><b/><a/><c/><c/><c><a/></c></r>");
  Ostrum::Element& root = parsed.document->GetRoot();
  std::string runs;
  for (auto child = root.Begin(); !(child == root.End()); child.Skip(child->IsNull() ? 0 : child.RunLength())) {
    runs += Narrow(child->GetName()) + std::to_string(child.RunLength());
  }
  EXPECT_EQ(runs, "a2b1a1c3");
  EXPECT_EQ(&root.Begin()->GetName(), &root.Begin().Skip(3)->GetName());

  for (const char* name : {"c", "d", "d"}) ASSERT_FALSE(root.AddElementInto(Wide(name).c_str()).IsNull());
  runs.clear();
  for (auto child = root.Begin(); !(child == root.End()); child.Skip(child.RunLength())) {
    runs += Narrow(child->GetName()) + std::to_string(child.RunLength());
  }
  EXPECT_EQ(runs, "a2b1a1c4d2");
}

TEST(Parse, TakesWhatOnlyTheDocumentTypeTells) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY e 'E&#38;f;'><!ENTITY f '&lt;F'><!ENTITY ext SYSTEM 'file:///etc/passwd'>"
      "<!ATTLIST r d CDATA 'def&e;' d CDATA 'later' t NMTOKENS #IMPLIED i CDATA #IMPLIED>]>"
      "<r t='  a \n b ' v='1&e;'>x&e;y<a>&ext;z</a><b>&#65;&amp;</b><c><![CDATA[&e;]]></c></r>");
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed.Text(""), "xE<Fy");
  EXPECT_EQ(parsed.Text("a"), "z");
  EXPECT_EQ(parsed.Text("b"), "A&");
  EXPECT_EQ(parsed.Text("c"), "&e;");
  EXPECT_EQ(parsed.AttributeOf("", "d"), "defE<F");
  EXPECT_EQ(parsed.AttributeOf("", "t"), "a b");
  EXPECT_EQ(parsed.AttributeOf("", "v"), "1E<F");
  EXPECT_EQ(parsed.AttributeOf("", "i"), "(none)");
  EXPECT_EQ(parsed.AttributeOf("a", "d"), "(none)");
}

TEST(Parse, RefusesWithPlaceAndReason) {
  const std::string bomb = "<!DOCTYPE r [<!ENTITY a0 '" + Repeat("x", 100) + "'>" + [] {
    std::string entities;
    for (int i = 1; i < 12; ++i) {
      entities += "<!ENTITY a" + std::to_string(i) + " '" + Repeat("&a" + std::to_string(i - 1) + ";", 10) + "'>";
    }
    return entities;
  }() + "]>\n<r>&a11;</r>";
  std::string chain = "<!DOCTYPE r [";
  for (int i = 0; i < 100'000; ++i) {
    chain += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i + 1) + ";'>";
  }
  chain += "<!ENTITY e100000 ''>]><r>&e0;</r>";
  const struct {
    std::string source;
    const char* place; // where that is sure
  } cases[] = {
      {"", "1:1: no element found"},
      {" ", nullptr},
      {"plain text", "1:1: syntax error"},
      {"<r>\n  <a></b>\n</r>", "2:8: mismatched tag"},
      {"<r>\n<a>", "2:4: no element found"},
      {"<r a='1' a='2'/>", "1:10: duplicate attribute"},
      {"<r>&nowhere;</r>", "1:4: undefined entity"},
      {"<r/><s/>", "1:5: junk after document element"},
      {"<r>\x01</r>", "1:4: not well-formed (invalid token)"},
      {std::string("<r>\0</r>", 8), nullptr},
      {"<!DOCTYPE r [<!ENTITY e '<b/>'>]><r>&e;</r>", "1:37: elements that come from an entity are not supported"},
      {bomb, nullptr},
      {chain, nullptr},
      {"<!DOCTYPE r [<!ENTITY a '&b;'><!ENTITY b '&a;'>]><r>&a;</r>", nullptr},
  };
  for (const auto& [source, place] : cases) {
    LogLines log;
    const Parsed parsed(source);
    EXPECT_FALSE(parsed) << source.substr(0, 80);
    EXPECT_NE(parsed.error, 0);
    const auto lines = log.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(place == nullptr || lines.front() == std::string("ostrumxml: ") + place) << lines.front();
  }
}

TEST(Parse, TakesTheGivenLengthInWideCharacters) {
  const std::string source = "<r>\xC3\xA9</r><no";
  Ostrum::PARSER_ERROR error{};
  int line = 0;
  int column = 0;
  for (const int length : {7, 8, 9}) {
    const std::unique_ptr<Ostrum::Document> document(
        Ostrum::ParseXML({std::string(source), source.size() - 1}, length, error, line, column));
    EXPECT_EQ(document != nullptr, length == 8) << length;
  }
}

TEST(Parse, NestsAsDeepAndGrowsAsLongAsTheFile) {
  constexpr std::size_t depth = 100'000;
  const std::string deep = Repeat("<e>", depth) + "x" + Repeat("</e>", depth);
  const Parsed nested(deep);
  ASSERT_TRUE(nested);
  Ostrum::Element* element = &nested.document->GetRoot();
  while (!(element->Begin() == element->End())) element = &*element->Begin();
  EXPECT_EQ(Narrow(element->GetValue()), "x");
  static_cast<Ostrum::Value>(*element).Set(L"y");
  EXPECT_EQ(nested.Generate(), Repeat("<e>", depth) + "y" + Repeat("</e>", depth));

  // One token, one attribute value, one name of megabytes, each read in pieces.
  const std::string large = Repeat("0123456789abcdef", 250'000);
  EXPECT_EQ(Parsed("<r><!--" + large + "-->x</r>").Text(""), "x");
  EXPECT_EQ(Parsed("<r a='" + large + "'/>").AttributeOf("", "a"), large);
  EXPECT_EQ(Narrow(Parsed("<r><n" + large + "/></r>").At("").Begin()->GetName()), "n" + large);
}

} // namespace
