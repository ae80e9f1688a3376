// Editing documents at random, and many elements.
#include <gtest/gtest.h>

#include <ctime>

#include "ostrumxml/grammar.h"
#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::Element;

void EditAtRandom(Element root, Grammar& random) {
  Element parent = root, element = root;
  for (Element next = root; !next.IsNull() && random.Below(3) != 0;) {
    parent = std::exchange(element, next);
    next = element.NthChild(Ostrum::NameMatch::Prefix, "", 1 + random.Below(4));
  }
  const std::string name(1, "abc"[random.Below(3)]);
  const std::uint32_t kind = random.Below(7);
  if (kind == 0) element.SetText(random.Below(2) != 0 ? "t\n" : "");
  if (kind == 1 && !element.GetAttribute(name).IsNull()) element.RemoveAttribute(name);
  if (kind == 2) element.SetAttribute(name, name);
  if (kind == 3 || kind == 4) element.AddElementInto("q");
  if (kind > 4 && element != root) parent.RemoveChild(element);
}

TEST(Edits, GenerateWhatTheDocumentSays) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    Grammar random(seed);
    const Parsed parsed(random.Write("markup"));
    for (std::size_t count = random.Below(12); count > 0; --count) {
      EditAtRandom(parsed.At(""), random);
      const Parsed again(parsed.Generate());
      ASSERT_TRUE(again.document) << seed << ": " << again.source;
      ASSERT_EQ(Describe(parsed.At("")), Describe(again.At("")))
          << seed << ": " << parsed.source << '\n'
          << again.source;
    }
  }
}

// A walk over the siblings for each removed element, or over removed ones in each search, takes
// longer.
TEST(Edits, TakeTimeInProportionToTheNumberOfSiblings) {
  const std::uint32_t half = IS_SANITIZED ? 20'000 : 100'000;
  const Parsed parsed("<r>\n" + Repeat("<a/>\n", 2 * half) + "</r>");
  Element root = parsed.At(""), child = root.FirstChild(), kept;
  const std::clock_t start = std::clock();
  for (std::uint32_t n = 0; n <= half; ++n, child = child.NextSibling()) {
    if (n == half / 2) kept = child;
    if (n != half / 2) root.RemoveChild(child);
  }
  for (std::uint32_t n = 0; n < half; ++n) {
    ASSERT_EQ(root.FirstChild(), kept);
    ASSERT_EQ(kept.NextSibling().GetName(), "a");
  }
  EXPECT_EQ(root.CountChildren("a"), half);
  for (std::uint32_t n = 0; n < half - 1; ++n) root.AddElementInto("a");
  EXPECT_EQ(parsed.Generate().size(), parsed.source.size() - 5);
  EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC);
}

} // namespace
