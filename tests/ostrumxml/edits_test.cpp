// Editing a document and generating its text.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <stdexcept>

#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::Element;

// Applies edits separated by "|": "a/b=1" sets an element's text, "a/@k=1" an attribute, and both
// create what is missing; "-a/b" and "-a/@k" remove.
void Apply(const Parsed& parsed, std::string_view edits) {
  for (std::string_view edit : Split(edits)) {
    const bool removes = edit.starts_with('-');
    if (removes) edit.remove_prefix(1);
    const std::size_t equals = edit.find('=');
    const std::string_view value = edit.substr(equals + 1);
    const std::filesystem::path path(edit.substr(0, equals));
    const std::string name = path.filename().string();
    Element parent = parsed.At(path.parent_path()), element = parsed.At(path);
    if (name.starts_with('@') && removes) {
      parent.RemoveAttribute(name.substr(1));
    } else if (name.starts_with('@')) {
      parent.SetAttribute(name.substr(1), value);
    } else if (removes) {
      for (int times = 0; times < 2; ++times) parent.RemoveChild(element); // nothing more
    } else {
      if (element.IsNull()) element = parent.AddElementInto(name);
      element.SetText(value);
    }
  }
}

constexpr const char* odd =
    "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone=\"yes\" ?>\r\n"
    "<!DOCTYPE r [\n<!ENTITY e 'x'>\n<!ATTLIST r d CDATA 'q'>]>\n<?pi a  b?><!-- c -->\r\n"
    "<r  a = '1'\n\tb=\"&#50;\" >&e;\r\n<a /><b\n/><c></c ><![CDATA[ <z> ]]>\t&amp;&#x41;</r >\n"
    "<!-- end -->\n\n";
const std::string big(5000, 'x'); // too long to be joined with other parts
const std::string entities =
    "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY p '<?p?>'><!ENTITY b '\n<b/>'>]>";
const std::string declared = "<!DOCTYPE r [<!ATTLIST r d CDATA 'x' t NMTOKEN 'x'>]>";

const struct {
  std::string before, edits, after;
} cases[] = {
    // Equal values change nothing.
    {odd, "=x\n <z> \t&A|@b=2|c=", odd},
    // Text
    {"<r><a x='/' /></r>", "a=&<]]>\r\n\t\"'", "<r><a x='/'>&amp;&lt;]]&gt;&#13;\n\t\"'</a></r>"},
    {"<r><!-- c -->1<b/>&amp;<![CDATA[2]]><?p?> </r>", "=<", "<r><!-- c -->&lt;<b/><?p?></r>"},
    {"<r><!-- c --><b/></r>", "=3", "<r>3<!-- c --><b/></r>"},
    {entities + "<r>&b;</r>", "n=", entities + "<r>&b;<n/></r>"},
    {entities + "<r>1&e;&p;&lt;</r>", "=t|@a=\"", entities + "<r a=\"&quot;\">t&p;</r>"},
    {"<r><a>1</a>" + big + "<b/></r>", "a=" + big + "|b=3",
     "<r><a>" + big + "</a>" + big + "<b>3</b></r>"},
    // Attributes
    {"<r a='1' b = \"2\"/>", "@a='\"&<|@b='\">\t\r\n\u20ac",
     "<r a='&apos;\"&amp;&lt;' b = \"'&quot;>&#9;&#13;&#10;\u20ac\"/>"},
    {declared + "<r a='1'\n\tb = '2'  c='3' d='4' />", "-@b|-@d|@b=2|@e=5|-@e",
     declared + "<r a='1'  c='3' b=\"2\" />"},
    {"<r a='1' b='2'/>", "@b=3|@b=4|@n=3|@m=4|-@a|@a=6|-@m|@m=7|@n=5",
     "<r b='4' n=\"5\" a=\"6\" m=\"7\"/>"},
    {"<!DOCTYPE r SYSTEM 'd'><r a='&u;1'/>", "@a=1", "<!DOCTYPE r SYSTEM 'd'><r a='1'/>"},
    {declared + "<r/>", "@d= x|@t=y", declared + "<r d=\" x\" t=\"y\"/>"},
    // New elements
    {"<r />", "@a=3|@b=4|=t|n=", "<r a=\"3\" b=\"4\">t<n/></r>"},
    {"<r>\r\n\t<a/>\r\n</r>", "n=1|m=", "<r>\r\n\t<a/>\r\n\t<n>1</n>\r\n\t<m/>\r\n</r>"},
    {"<r>\n  <a/>\n  <!-- c -->\n</r>", "n=", "<r>\n  <a/>\n  <!-- c -->\n  <n/>\n</r>"},
    {"<r>\n\n  <a/></r>", "n=", "<r>\n\n  <a/>\n  <n/></r>"},
    {"<r>\n</r>", "n=", "<r>\n<n/></r>"},
    {"<r>\n <a/>\n</r>", "n=|=t|n/m=1", "<r>t<a/><n><m>1</m></n></r>"},
    {"<r>\n <a/>\n</r>", "=t|n=", "<r>t<a/><n/></r>"},
    {"<r><a><b>1</b></a><a/></r>", "a/b=2|a=t|a/n=", "<r><a>t<b>2</b><n/></a><a/></r>"},
    // Removed elements: alone on their lines, whatever ends these, or among others
    {"<r>\n  <a/>\n\t<b>\n  </b> \n</r>", "-b", "<r>\n  <a/>\n</r>"},
    {"<r>\r\n  <a/>\r\n  <b/>\r\n</r>", "-a", "<r>\r\n  <b/>\r\n</r>"},
    {"<r>\n  <a/> <b/>\n</r>", "-a", "<r>\n   <b/>\n</r>"},
    {"<r>\n  <a/><b/> <c/>\n</r>", "-c|-b|-a", "<r>\n</r>"},
    {"<r>\n  <a/> <b/><c/>\n</r>", "-a|-b|-c", "<r>\n</r>"},
    {"<r>\n  <a/>\n</r>", "=t|-a", "<r>t</r>"},
    {"<r>\n  <a/> <!-- c -->\n</r>", "-a", "<r>\n   <!-- c -->\n</r>"},
    {"<r>\n  <a/>x\n</r>", "-a", "<r>\n  x\n</r>"},
    {"<r>\n  <a/><b/><c/>\n</r>", "-a|-b|n=", "<r>\n  <c/>\n  <n/>\n</r>"},
    {"<r>\n  <a/><b/><c/>\n</r>", "-b|-a|n=", "<r>\n  <c/>\n  <n/>\n</r>"},
    {"<r><a/>\n<b/></r>", "-a|-b", "<r>\n</r>"},
    {"<r>\r <a/>\r</r>", "-a", "<r>\r \r</r>"},
    {"<r><a><b/></a></r>", "-a/b", "<r><a></a></r>"},
    {"<r><a><b/><d/></a><c/></r>", "-a/d|-a/b|-a", "<r><c/></r>"},
};

// All that can be asked of an element and what is in it.
std::string Answers(const Element& element) {
  std::string text = Describe(element);
  for (const char* const name : {"p", "q", "r"})
    text += ' ' + std::to_string(element.CountChildren(name));
  for (const std::string_view name : element.AttributeNames())
    text.append(" ").append(name).append("=").append(element.GetAttribute(name).GetValue());
  for (Element child = element.FirstChild(); !child.IsNull(); child = child.NextSibling())
    text += Answers(child);
  return text;
}

TEST(Edits, ChangeOnlyTheBytesOfWhatTheyName) {
  for (const auto& [before, edits, after] : cases) {
    const Parsed parsed(before);
    EXPECT_EQ(parsed.Generate(), before);
    Apply(parsed, edits);
    EXPECT_EQ(parsed.Generate(), after);
    EXPECT_EQ(Answers(parsed.At("")), Answers(Parsed(after).At("")));
  }
}

TEST(Edits, ChangeNothingIfTheyAreRefused) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY e '<a b=\"1\"><c/></a>'>"
      "<!ATTLIST r d CDATA 'x' t NMTOKEN 'x'>]><r><n/>&e;</r>");
  for (const std::string_view edit :
       Split("-a|-a/c|-a/@b|-@d|-@none|a/@b=2|a=t|a/c/n=|=t|n=\x01|@n=\x01|@n=\xFF|@n=\xEF\xBF\xBF|"
             "@=x|@9=x|@a b=x|@t= y|9=|o/=|o p="))
    EXPECT_THROW(Apply(parsed, edit), std::invalid_argument) << edit;
  EXPECT_EQ(parsed.Generate(), parsed.source);
}

// Random documents and edits of them.
struct Random {
  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); }

  std::string Markup(int depth) {
    static const auto between = Split("|\n  |\r\n| |x|<!-- c\n -->|<![CDATA[\n ]]>|\n|&amp;\n");
    const std::string name(1, "pqr"[Below(3)]);
    std::string text = "<" + name + (Below(2) ? " a='1'" : "") + (Below(3) ? "" : "\n b='2'");
    std::size_t children = depth == 0 ? 0 : Below(5);
    if (children == 0 && Below(2)) return text + "/>";
    for (text += ">"; children > 0; --children)
      text.append(between[Below(9)]).append(between[Below(9)]) += Markup(depth - 1);
    return text.append(between[Below(9)]) + "</" + name + ">";
  }

  void Edit(Element root) {
    Element parent = root, element = root;
    for (Element next = root; !next.IsNull() && Below(3) != 0;) {
      parent = std::exchange(element, next);
      next = element.NthChild(Ostrum::NameMatch::Prefix, "", 1 + Below(4));
    }
    const std::string name(1, "abc"[Below(3)]);
    const std::uint32_t kind = Below(7);
    if (kind == 0) element.SetText(Below(2) ? "t\n" : "");
    if (kind == 1 && !element.GetAttribute(name).IsNull()) element.RemoveAttribute(name);
    if (kind == 2) element.SetAttribute(name, name);
    if (kind == 3 || kind == 4) element.AddElementInto("q");
    if (kind > 4 && element != root) parent.RemoveChild(element);
  }

  std::mt19937 random;
};

TEST(Edits, GenerateWhatTheDocumentSays) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    Random random{std::mt19937(seed)};
    const Parsed parsed("<!-- before -->" + random.Markup(3) + "\n<!-- after -->");
    for (std::size_t count = random.Below(12); count > 0; --count) {
      random.Edit(parsed.At(""));
      const Parsed again(parsed.Generate());
      ASSERT_TRUE(again.document) << seed << ": " << again.source;
      ASSERT_EQ(Answers(parsed.At("")), Answers(again.At("")))
          << seed << ": " << parsed.source << '\n'
          << again.source;
    }
  }
}

// A walk over the siblings for each removed element, or over removed ones in each search, takes
// longer.
TEST(Edits, TakeTimeInProportionToTheNumberOfSiblings) {
  const Parsed parsed("<r>\n" + Repeat("<a/>\n", 200'000) + "</r>");
  Element root = parsed.At(""), child = root.FirstChild(), kept;
  const auto start = std::chrono::steady_clock::now();
  for (int n = 0; n <= 100'000; ++n, child = child.NextSibling()) {
    if (n == 50'000) kept = child;
    if (n != 50'000) root.RemoveChild(child);
  }
  for (int n = 0; n < 100'000; ++n) {
    ASSERT_EQ(root.FirstChild(), kept);
    ASSERT_EQ(kept.NextSibling().GetName(), "a");
  }
  EXPECT_EQ(root.CountChildren("a"), 100'000u);
  for (int n = 0; n < 99'999; ++n) root.AddElementInto("a");
  EXPECT_EQ(parsed.Generate().size(), parsed.source.size() - 5);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

} // namespace
