// Removing elements and attributes.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <stdexcept>

#include "ostrumxml/parsed_document.h"

namespace {

using Ostrum::Element;

// The n-th child of any name; n counts from 1.
Element Child(const Element& parent, std::uint32_t n) {
  return parent.NthChild(Ostrum::NameMatch::Prefix, "", n);
}

const struct {
  std::string before;
  std::vector<std::vector<std::uint32_t>> removed; // the numbers of the children on the way to each
  std::string after;
} cases[] = {
    // Alone on its lines, whatever ends them, or among others
    {"<r>\n  <a/>\n\t<b>\n  </b> \n</r>", {{2}}, "<r>\n  <a/>\n</r>"},
    {"<r>\r\n  <a/>\r\n  <b/>\r\n</r>", {{1}}, "<r>\r\n  <b/>\r\n</r>"},
    {"<r>\n  <a/> <b/>\n</r>", {{1}}, "<r>\n   <b/>\n</r>"},
    {"<r>\n  <a/> <b/>\n</r>", {{2}, {1}}, "<r>\n</r>"}, // the last of them takes the line
    {"<r>\n  <a/> <!-- c -->\n</r>", {{1}}, "<r>\n   <!-- c -->\n</r>"},
    {"<r>\n  <a/>x\n</r>", {{1}}, "<r>\n  x\n</r>"},
    {"<r><a/>\n<b/></r>", {{1}, {1}}, "<r>\n</r>"},
    {"<r>\r <a/>\r</r>", {{1}}, "<r>\r \r</r>"},
    // The last child gone, the parent keeps its tags
    {"<r><a><b/></a></r>", {{1, 1}}, "<r><a></a></r>"},
    // In an element that goes as well
    {"<r><a><b/><b/></a><c/></r>", {{1, 2}, {1, 1}, {1}}, "<r><c/></r>"},
};

TEST(Removal, TakesTheLineOfAnElementThatIsAloneOnIt) {
  for (const auto& [before, removed, after] : cases) {
    const Parsed parsed(before);
    for (const auto& numbers : removed) {
      Element parent, element = parsed.document->GetRoot();
      for (const std::uint32_t n : numbers) {
        parent = element;
        element = Child(parent, n);
      }
      parent.RemoveChild(element);
      parent.RemoveChild(element); // nothing more
    }
    EXPECT_EQ(parsed.Generate(), after) << before;
  }
}

TEST(Removal, TakesAnAttributeWithTheSpaceBeforeIt) {
  const Parsed parsed("<!DOCTYPE r [<!ATTLIST r d CDATA 'x'>]><r a='1'\n\tb = '2'  c='3' d='4' />");
  Element root = parsed.document->GetRoot();
  for (const char* const name : {"b", "d"}) root.RemoveAttribute(name);
  EXPECT_EQ(root.AttributeNames(), (std::vector<std::string_view>{"a", "c", "d"}));
  EXPECT_EQ(root.GetAttribute("d").GetValue(), "x"); // as declared
  EXPECT_TRUE(root.GetAttribute("b").IsNull());
  EXPECT_THROW(root.RemoveAttribute("b"), std::invalid_argument);
  EXPECT_THROW(root.RemoveAttribute("d"), std::invalid_argument);
  static_cast<Ostrum::Value>(root.CreateAttribute("b")).Set("2"); // removed and set again
  static_cast<Ostrum::Value>(root.CreateAttribute("e")).Set("5");
  root.RemoveAttribute("e");
  EXPECT_TRUE(parsed.Generate().ends_with("<r a='1'  c='3' b=\"2\" />")) << parsed.Generate();
}

TEST(Removal, RefusesWhatComesFromAnEntity) {
  const Parsed parsed("<!DOCTYPE r [<!ENTITY e '<a b=\"1\"><c/></a>'>]><r>&e;</r>");
  Element root = parsed.document->GetRoot(), fromEntity = Child(root, 1);
  EXPECT_THROW(root.RemoveChild(fromEntity), std::invalid_argument);
  EXPECT_THROW(fromEntity.RemoveChild(Child(fromEntity, 1)), std::invalid_argument);
  EXPECT_THROW(fromEntity.RemoveAttribute("b"), std::invalid_argument);
  EXPECT_EQ(parsed.Generate(), parsed.source);
}

// Random edits of random documents: the text generated must say what the document itself says.
class RandomEdits {
 public:
  explicit RandomEdits(unsigned seed) : random(seed) {}

  std::string Markup(int depth) {
    static const char* const between[] = {
        "", "\n  ", "\r\n", " ", "x", "<!-- c\n -->", "<![CDATA[\n ]]>", "\n", "&amp;\n"};
    const std::string name(1, static_cast<char>('p' + Below(3)));
    std::string text = "<" + name + (Below(2) ? " a='1'" : "") + (Below(3) ? "" : "\n b='2'");
    const std::size_t children = depth == 0 ? 0 : Below(5);
    if (children == 0 && Below(2)) return text + "/>";
    text += ">";
    for (std::size_t i = 0; i < children; ++i) {
      text += between[Below(std::size(between))];
      if (Below(2)) text += between[Below(std::size(between))];
      text += Markup(depth - 1);
    }
    return text + between[Below(std::size(between))] + "</" + name + ">";
  }

  void Edit(Element root) {
    Element parent = root, element = root;
    for (Element next = root; !next.IsNull() && Below(3);) {
      parent = element;
      element = next;
      next = Child(element, 1 + static_cast<std::uint32_t>(Below(4)));
    }
    const std::string name(1, static_cast<char>('a' + Below(3)));
    switch (Below(7)) {
      case 0:
        return static_cast<Ostrum::Value>(element).Set(Below(2) ? "t\n" : "");
      case 1:
        if (!element.GetAttribute(name).IsNull()) element.RemoveAttribute(name);
        return;
      case 2:
        return SetAttribute(element, name.c_str(), name);
      case 3:
      case 4:
        element.AddElementInto("q");
        return;
      default:
        if (element != root) parent.RemoveChild(element);
    }
  }

  std::size_t Below(std::size_t limit) { return random() % limit; }

 private:
  std::mt19937 random;
};

std::string WithCounts(const Element& element) {
  std::string text = Describe(element);
  for (const std::string_view name : {"p", "q", "r"})
    text += ' ' + std::to_string(element.CountChildren(name));
  for (const std::string_view name : element.AttributeNames())
    text.append(" ").append(name).append("=").append(element.GetAttribute(name).GetValue());
  for (auto child = element.Begin(); !(child == element.End()); ++child) text += WithCounts(*child);
  return text;
}

TEST(Removal, RandomEditsLeaveWhatTheDocumentSays) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    RandomEdits edits(seed);
    const Parsed parsed("<!-- before -->" + edits.Markup(3) + "\n<!-- after -->");
    ASSERT_TRUE(parsed.document) << seed;
    const std::size_t count = edits.Below(12);
    for (std::size_t i = 0; i < count; ++i) {
      edits.Edit(parsed.document->GetRoot());
      const std::string text = parsed.Generate();
      const Parsed again(text);
      ASSERT_TRUE(again.document) << seed << ": " << text;
      ASSERT_EQ(WithCounts(parsed.document->GetRoot()), WithCounts(again.document->GetRoot()))
          << seed << ": " << parsed.source << '\n'
          << text;
    }
  }
}

TEST(Removal, IsInProportionToTheNumberOfSiblings) {
  std::string text = "<r>\n";
  for (int i = 0; i < 200'000; ++i) text += "<a/>\n";
  const Parsed parsed(text + "</r>");
  Element root = parsed.document->GetRoot();
  ASSERT_EQ(root.CountChildren("a"), 200'000u); // from here on by an index
  std::vector<Element> removed;
  for (auto child = root.Begin(); !(child == root.End()) && removed.size() < 10'000; ++child)
    removed.push_back(*child);
  const auto start = std::chrono::steady_clock::now();
  for (const Element& element : removed) root.RemoveChild(element);
  for (std::uint32_t n = 1; n < 10'000; ++n) ASSERT_EQ(Child(root, 1).GetName(), "a");
  EXPECT_EQ(root.CountChildren("a"), 190'000u);
  EXPECT_EQ(parsed.Generate().size(), text.size() + 4 - 50'000);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken.count(), 5); // a walk over the siblings for each takes longer
}

} // namespace
