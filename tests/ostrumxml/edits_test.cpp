// Editing a document and generating its text.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <stdexcept>

#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::Element;

// Sets an element's text, or an attribute if one is named, and creates what is missing; removes
// them if the value is null.
struct Edit {
  std::filesystem::path path;
  const char* value;
  const char* attribute = nullptr;

  void Apply(const Parsed& parsed) const {
    Element element = parsed.At(path), parent = parsed.At(path.parent_path());
    if (value == nullptr && attribute != nullptr) return element.RemoveAttribute(attribute);
    if (value == nullptr) {
      for (int times = 0; times < 2; ++times) parent.RemoveChild(element); // nothing more
      return;
    }
    if (element.IsNull()) element = parent.AddElementInto(path.filename().string());
    if (attribute != nullptr) return element.SetAttribute(attribute, value);
    element.SetText(value);
  }
};

constexpr const char* odd =
    "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8' standalone=\"yes\" ?>\r\n"
    "<!DOCTYPE r [\n<!ENTITY e 'x'>\n<!ATTLIST r d CDATA 'q'>]>\n<?pi a  b?><!-- c -->\r\n"
    "<r  a = '1'\n\tb=\"&#50;\" >&e;\r\n<a /><b\n/><c></c ><![CDATA[ <z> ]]>\t&amp;&#x41;</r >\n"
    "<!-- end -->\n\n";
const std::string big(5000, 'x'); // too long to be joined with other parts
const std::string entities = "<!DOCTYPE r [<!ENTITY e 'x'><!ENTITY p '<?p?>'>]>";
const std::string declared = "<!DOCTYPE r [<!ATTLIST r d CDATA 'x'>]>";

const struct {
  std::string before;
  std::vector<Edit> edits;
  std::string after;
} cases[] = {
    // Equal values change nothing.
    {odd, {{"", "x\n <z> \t&A"}, {"", "2", "b"}, {"c", ""}}, odd},
    // Text
    {"<r><a x='/' /></r>", {{"a", "2"}}, "<r><a x='/'>2</a></r>"},
    {"<r><!-- c -->1<b/>&amp;<![CDATA[2]]><?p?> </r>", {{"", "3"}}, "<r><!-- c -->3<b/><?p?></r>"},
    {"<r><!-- c --><b/></r>", {{"", "3"}}, "<r>3<!-- c --><b/></r>"},
    {entities + "<r>1&e;&p;&lt;</r>",
     {{"", "t"}, {"", "z", "a"}},
     entities + "<r a=\"z\">t&p;</r>"},
    {"<r><a>1</a>" + big + "<b>2</b></r>",
     {{"a", big.c_str()}, {"b", "3"}},
     "<r><a>" + big + "</a>" + big + "<b>3</b></r>"},
    // Attributes
    {"<r a='1' b = \"2\"/>",
     {{"", "'\"", "a"}, {"", "'\"", "b"}},
     "<r a='&apos;\"' b = \"'&quot;\"/>"},
    {declared + "<r a='1'\n\tb = '2'  c='3' d='4' />",
     {{"", nullptr, "b"}, {"", nullptr, "d"}, {"", "2", "b"}, {"", "5", "e"}, {"", nullptr, "e"}},
     declared + "<r a='1'  c='3' b=\"2\" />"},
    {declared + "<r/>", {{"", "x", "d"}}, declared + "<r d=\"x\"/>"},
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
    // Removed elements: alone on their lines, whatever ends these, or among others
    {"<r>\n  <a/>\n\t<b>\n  </b> \n</r>", {{"b", nullptr}}, "<r>\n  <a/>\n</r>"},
    {"<r>\r\n  <a/>\r\n  <b/>\r\n</r>", {{"a", nullptr}}, "<r>\r\n  <b/>\r\n</r>"},
    {"<r>\n  <a/> <b/>\n</r>", {{"a", nullptr}}, "<r>\n   <b/>\n</r>"},
    {"<r>\n  <a/> <b/>\n</r>", {{"b", nullptr}, {"a", nullptr}}, "<r>\n</r>"},
    {"<r>\n  <a/> <!-- c -->\n</r>", {{"a", nullptr}}, "<r>\n   <!-- c -->\n</r>"},
    {"<r>\n  <a/>x\n</r>", {{"a", nullptr}}, "<r>\n  x\n</r>"},
    {"<r>\n  <a/><b/><c/>\n</r>",
     {{"a", nullptr}, {"b", nullptr}, {"n", ""}},
     "<r>\n  <c/>\n  <n/>\n</r>"},
    {"<r>\n  <a/><b/><c/>\n</r>",
     {{"b", nullptr}, {"a", nullptr}, {"n", ""}},
     "<r>\n  <c/>\n  <n/>\n</r>"},
    {"<r><a/>\n<b/></r>", {{"a", nullptr}, {"b", nullptr}}, "<r>\n</r>"},
    {"<r>\r <a/>\r</r>", {{"a", nullptr}}, "<r>\r \r</r>"},
    {"<r><a><b/></a></r>", {{"a/b", nullptr}}, "<r><a></a></r>"},
    {"<r><a><b/><d/></a><c/></r>",
     {{"a/d", nullptr}, {"a/b", nullptr}, {"a", nullptr}},
     "<r><c/></r>"},
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
    for (const Edit& edit : edits) edit.Apply(parsed);
    EXPECT_EQ(parsed.Generate(), after);
    EXPECT_EQ(Answers(parsed.At("")), Answers(Parsed(after).At("")));
  }
}

TEST(Edits, OfWhatIsNotInTheFileAreRefused) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY e '<a b=\"1\"><c/></a>'><!ATTLIST r d CDATA 'x'>]><r>&e;</r>");
  for (const Edit& edit : {Edit{"a", nullptr},
                           {"a/c", nullptr},
                           {"a", nullptr, "b"},
                           {"", nullptr, "d"},
                           {"", nullptr, "none"}})
    EXPECT_THROW(edit.Apply(parsed), std::invalid_argument);
  EXPECT_EQ(parsed.Generate(), parsed.source);
}

// Random edits of random documents.
class RandomEdits {
 public:
  explicit RandomEdits(unsigned seed) : random(seed) {}

  std::string Markup(int depth) {
    static const auto between = Split("|\n  |\r\n| |x|<!-- c\n -->|<![CDATA[\n ]]>|\n|&amp;\n");
    const auto any = [&] { return std::string(between[Below(between.size())]); };
    const std::string name(1, "pqr"[Below(3)]);
    std::string text = "<" + name + (Below(2) ? " a='1'" : "") + (Below(3) ? "" : "\n b='2'");
    const std::size_t children = depth == 0 ? 0 : Below(5);
    if (children == 0 && Below(2)) return text + "/>";
    text += ">";
    for (std::size_t i = 0; i < children; ++i)
      text += any() + (Below(2) ? any() : "") + Markup(depth - 1);
    return text + any() + "</" + name + ">";
  }

  void Apply(Element root) {
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

  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); }

 private:
  std::mt19937 random;
};

TEST(Edits, GenerateWhatTheDocumentSays) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    RandomEdits edits(seed);
    const Parsed parsed("<!-- before -->" + edits.Markup(3) + "\n<!-- after -->");
    for (std::size_t count = edits.Below(12); count > 0; --count) {
      edits.Apply(parsed.At(""));
      const std::string text = parsed.Generate();
      const Parsed again(text);
      ASSERT_TRUE(again.document) << seed << ": " << text;
      ASSERT_EQ(Answers(parsed.At("")), Answers(again.At("")))
          << seed << ": " << parsed.source << '\n'
          << text;
    }
  }
}

// A walk over the siblings for each removed element, or over removed ones in each search, takes
// longer.
TEST(Edits, RemoveInProportionToTheNumberOfSiblings) {
  const std::string text = "<r>\n" + Repeat("<a/>\n", 200'000) + "</r>";
  const Parsed parsed(text);
  Element root = parsed.At("");
  ASSERT_EQ(root.CountChildren("a"), 200'000u); // from here on by an index
  std::vector<Element> removed;
  for (Element child = root.FirstChild(); removed.size() <= 100'000; child = child.NextSibling())
    removed.push_back(child);
  const Element kept = removed[50'000];
  removed.erase(removed.begin() + 50'000);
  const auto start = std::chrono::steady_clock::now();
  for (const Element& element : removed) root.RemoveChild(element);
  for (int n = 0; n < 100'000; ++n) {
    ASSERT_EQ(root.FirstChild(), kept);
    ASSERT_EQ(kept.NextSibling().GetName(), "a");
  }
  EXPECT_EQ(root.CountChildren("a"), 100'000u);
  EXPECT_EQ(parsed.Generate().size(), text.size() - 500'000);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

} // namespace
