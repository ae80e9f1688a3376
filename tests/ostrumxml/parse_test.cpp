#include <gtest/gtest.h>

#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::Element;

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
  const std::string value = "xx" + Repeat("\u20ac", 2000) + "&#121;";
  const Parsed parsed("<r a='" + value + "'>" + value + "<b/></r>");
  Element root = parsed.At("");
  for (const bool isText : {true, false}) {
    for (const std::string_view set : Split("|y|z|z|y|z|y|y|z|&#121;")) {
      const std::string changed = std::string(300, 'x').append(set);
      if (!set.empty() && isText) root.SetText(changed);
      if (!set.empty() && !isText) root.SetAttribute("a", changed);
      const Ostrum::Value judged = isText ? root.Text() : root.GetAttribute("a");
      for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(judged.IsAccepted(valid));
        EXPECT_EQ(judged.IsAccepted(noY), set != "y" && !set.empty());
      }
    }
  }
}

} // namespace
