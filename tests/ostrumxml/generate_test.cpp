#include <gtest/gtest.h>

#include "host/ostrumxml/characters.h"
#include "ostrumxml/parsed_document.h"

namespace {

// One change: of an element's text, or of an attribute if one is named. What is not there is made.
struct Set {
  std::filesystem::path path;
  const wchar_t* value;
  const wchar_t* attribute = nullptr;
};

void Apply(const Parsed& parsed, const Set& set) {
  Ostrum::Element* element = &parsed.At(set.path);
  if (element->IsNull())
    element = &parsed.At(set.path.parent_path()).AddElementInto(set.path.filename().wstring().c_str());
  if (set.attribute == nullptr) return static_cast<Ostrum::Value>(*element).Set(set.value);
  Ostrum::Attribute attribute = element->GetAttribute(set.attribute);
  if (attribute.IsNull()) attribute = element->CreateAttribute(set.attribute);
  static_cast<Ostrum::Value>(attribute).Set(set.value);
}

TEST(Generate, ChangesOnlyTheBytesOfWhatWasSet) {
  const char* const odd =
      "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone=\"yes\" ?>\r\n<!DOCTYPE r [\n<!ENTITY e 'x'>\n"
      "<!ATTLIST r d CDATA 'q'>]>\n<?pi a  b?><!-- c -->\r\n<r  a = '1'\n\tb=\"&#50;\" >&e;\r\n<a /><b\n/><c></c >"
      "<![CDATA[ <z> ]]>\t&amp;&#x41;</r >\n<!-- end -->\n\n";
  const struct {
    const char* before;
    std::vector<Set> sets;
    const char* after;
  } cases[] = {
      {odd, {}, odd},
      // What is there already is no change.
      {odd, {{"", L"x\n <z> \t&A"}, {"", L"2", L"b"}, {"c", L""}}, odd},
      // Text
      {"<r><a x='/' /></r>", {{"a", L"2"}}, "<r><a x='/'>2</a></r>"},
      {"<r><a></a ></r>", {{"a", L"2"}}, "<r><a>2</a ></r>"},
      {"<r><!-- c -->1<b/>&amp;<![CDATA[2]]><?p q?> </r>", {{"", L"3"}}, "<r><!-- c -->3<b/><?p q?></r>"},
      {"<r><!-- c --><b/></r>", {{"", L"3"}}, "<r>3<!-- c --><b/></r>"},
      {"<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY f SYSTEM 'y'>]><r>&e;&f;&lt;</r>",
       {{"", L"z"}},
       "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY f SYSTEM 'y'>]><r>z&f;</r>"},
      // Attributes
      {"<r a='1' b = \"2\"/>",
       {{"", L"'\"<&", L"a"}, {"", L"'\"\t\n\r", L"b"}},
       "<r a='&apos;\"&lt;&amp;' b = \"'&quot;&#9;&#10;&#13;\"/>"},
      {"<r a='1'\n></r>", {{"", L"3", L"c"}, {"", L"4", L"d"}}, "<r a='1' c=\"3\" d=\"4\"\n></r>"},
      {"<!DOCTYPE r [<!ATTLIST r a CDATA 'q'>]><r />",
       {{"", L"z", L"a"}},
       "<!DOCTYPE r [<!ATTLIST r a CDATA 'q'>]><r a=\"z\" />"},
      // New elements
      {"<r />", {{"", L"3", L"c"}, {"", L"t"}, {"n", L""}}, "<r c=\"3\">t<n/></r>"},
      {"<r>\r\n\t<a/>\r\n</r>", {{"n", L"1"}, {"m", L""}}, "<r>\r\n\t<a/>\r\n\t<n>1</n>\r\n\t<m/>\r\n</r>"},
      {"<r>\n  <a/>\n  <!-- c -->\n</r>", {{"n", L""}}, "<r>\n  <a/>\n  <!-- c -->\n  <n/>\n</r>"},
      {"<r>\n  <a/></r>", {{"n", L""}}, "<r>\n  <a/>\n  <n/></r>"},
      {"<r><a/> </r>", {{"n", L""}, {"n/m", L"1"}}, "<r><a/> <n><m>1</m></n></r>"},
      {"<r>\n</r>", {{"n", L""}}, "<r>\n<n/></r>"},
      {"<r>\n <a/>\n</r>", {{"", L"t"}, {"n", L""}}, "<r>t<a/><n/></r>"},
      {"<r>\n <a/>\n</r>", {{"n", L""}, {"", L"t"}}, "<r>t<a/><n/></r>"},
      {"<r><a><b>1</b></a><a/></r>",
       {{"a/b", L"2"}, {"a", L"t"}, {"a/n", L""}, {"m", L""}},
       "<r><a>t<b>2</b><n/></a><a/><m/></r>"},
  };
  for (const auto& [before, sets, after] : cases) {
    const Parsed parsed(before);
    ASSERT_NE(parsed.document, nullptr) << before;
    for (const Set& set : sets) Apply(parsed, set);
    EXPECT_EQ(parsed.Generate(), after);
    // What the document says of itself now is what it says when read again.
    const Parsed again(after);
    for (const char* path : {"", "a", "a/b", "n", "n/m"}) EXPECT_EQ(parsed.Text(path), again.Text(path)) << after;
    for (const wchar_t* name : {L"a", L"b", L"d"}) EXPECT_EQ(parsed.Attribute("", name), again.Attribute("", name));
  }
}

TEST(Generate, RefusesWhatXmlCannotCarry) {
  const std::string source = "<!DOCTYPE r [<!ATTLIST r t NMTOKEN #IMPLIED>]><r t='x'/>";
  const Parsed parsed(source);
  Ostrum::Element& root = parsed.document->GetRoot();
  for (const wchar_t* text : {L"\x01", L"a\x1F", L"\xFFFE", L"\xFFFF", L"\xD800", L"\xDC00x"}) {
    EXPECT_FALSE(Ostrum::IsXmlText(text));
    EXPECT_THROW(Apply(parsed, {"", text}), std::invalid_argument);
  }
  EXPECT_THROW(Apply(parsed, {"", L" a  b", L"t"}), std::invalid_argument); // is read as "a b"
  for (const wchar_t* name : {L"", L"1a", L"a b", L"a>", L"a/", L"-a", L"a=", L"\x00E9 b", L"\x00D7", L"\U0001F600"}) {
    EXPECT_FALSE(Ostrum::IsXmlName(name));
    EXPECT_TRUE(root.AddElementInto(name).IsNull());
    EXPECT_TRUE(root.CreateAttribute(name).IsNull());
  }
  for (const wchar_t* name : {L"a", L"_:a-.1", L"\x00E9t\x00E9", L"\x65E5"}) EXPECT_TRUE(Ostrum::IsXmlName(name));
  EXPECT_TRUE(root.CreateAttribute(L"t").IsNull());
  EXPECT_EQ(parsed.Generate(), source);
}

} // namespace
