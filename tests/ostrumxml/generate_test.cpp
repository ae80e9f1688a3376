#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"

namespace {

// One change, of an element's text or of an attribute if one is named. Creates what is missing.
struct Set {
  std::filesystem::path path;
  std::string value;
  const char* attribute = nullptr;

  void Apply(const Parsed& parsed) const {
    Ostrum::Element element = parsed.At(path);
    const std::string name = path.filename().string();
    if (element.IsNull()) element = parsed.At(path.parent_path()).AddElementInto(name);
    if (attribute == nullptr) return static_cast<Ostrum::Value>(element).Set(value);
    SetAttribute(element, attribute, value);
  }
};

const char* const odd =
    "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone=\"yes\" ?>\r\n<!DOCTYPE r "
    "[\n<!ENTITY e 'x'>\n"
    "<!ATTLIST r d CDATA 'q'>]>\n<?pi a  b?><!-- c -->\r\n<r  a = '1'\n\tb=\"&#50;\" >&e;\r\n<a "
    "/><b\n/><c></c >"
    "<![CDATA[ <z> ]]>\t&amp;&#x41;</r >\n<!-- end -->\n\n";

const std::string big(5000, 'x'); // too long to be joined with other parts

const struct {
  std::string before;
  std::vector<Set> sets;
  std::string after;
} cases[] = {
    {odd,
     {{"", "x\n <z> \t&A"}, {"", "2", "b"}, {"c", ""}},
     odd}, // setting equal values changes nothing
    // Text
    {"<r><a x='/' /></r>", {{"a", "2"}}, "<r><a x='/'>2</a></r>"},
    {"<r><!-- c -->1<b/>&amp;<![CDATA[2]]><?p q?> </r>",
     {{"", "3"}},
     "<r><!-- c -->3<b/><?p q?></r>"},
    {"<r><!-- c --><b/></r>", {{"", "3"}}, "<r>3<!-- c --><b/></r>"},
    {"<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY p '<?p?>'>]><r>1&e;&p;&lt;</r>",
     {{"", "t"}, {"", "z", "a"}},
     "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY p '<?p?>'>]><r a=\"z\">t&p;</r>"},
    {"<r><a>1</a>" + big + "<b>2</b></r>",
     {{"a", big}, {"b", "3"}},
     "<r><a>" + big + "</a>" + big + "<b>3</b></r>"},
    // Attributes
    {"<r a='1' b = \"2\"/>",
     {{"", "'\"", "a"}, {"", "'\"", "b"}},
     "<r a='&apos;\"' b = \"'&quot;\"/>"},
    // New elements
    {"<r />",
     {{"", "3", "a"}, {"", "4", "b"}, {"", "t"}, {"n", ""}},
     "<r a=\"3\" b=\"4\">t<n/></r>"},
    {"<r>\r\n\t<a/>\r\n</r>",
     {{"n", "1"}, {"m", ""}},
     "<r>\r\n\t<a/>\r\n\t<n>1</n>\r\n\t<m/>\r\n</r>"},
    {"<r>\n  <a/>\n  <!-- c -->\n</r>", {{"n", ""}}, "<r>\n  <a/>\n  <!-- c -->\n  <n/>\n</r>"},
    {"<r>\n  <a/></r>", {{"n", ""}}, "<r>\n  <a/>\n  <n/></r>"},
    {"<r>\n</r>", {{"n", ""}}, "<r>\n<n/></r>"},
    {"<r>\n <a/>\n</r>", {{"n", ""}, {"", "t"}, {"n/m", "1"}}, "<r>t<a/><n><m>1</m></n></r>"},
    {"<r>\n <a/>\n</r>", {{"", "t"}, {"n", ""}}, "<r>t<a/><n/></r>"},
    {"<r><a><b>1</b></a><a/></r>",
     {{"a/b", "2"}, {"a", "t"}, {"a/n", ""}},
     "<r><a>t<b>2</b><n/></a><a/></r>"},
};

TEST(Generate, ChangesOnlyTheBytesOfWhatWasSet) {
  for (const auto& [before, sets, after] : cases) {
    const Parsed parsed(before);
    ASSERT_NE(parsed.document, nullptr) << before;
    EXPECT_EQ(parsed.Generate(), before);
    for (const Set& set : sets) set.Apply(parsed);
    EXPECT_EQ(parsed.Generate(), after);
    // The changed document must have the same content as the generated text.
    EXPECT_EQ(Describe(parsed.At("")), Describe(Parsed(after).At("")));
  }
}

} // namespace
