// What it costs to find children. That they are those that a walk finds, the tests of paths show.
#include <gtest/gtest.h>
#include <malloc.h>

#include <ctime>

#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::ChildQuery;
using Ostrum::Element;
using Ostrum::NameMatch;

// Bytes of memory, where the system can tell.
std::size_t InUse() {
#ifdef __GLIBC__
  return mallinfo2().uordblks + mallinfo2().hblkhd;
#else
  return 0;
#endif
}

bool Has(const Element& parent, ChildQuery query, const std::string& attribute) {
  query.attribute = attribute;
  return !parent.FindChild(query).IsNull();
}

TEST(Children, AreFoundInProportionWhateverIsAskedInTurn) {
  const struct {
    const char* name;
    std::uint32_t times; // for each child "a"
    bool (*search)(const Element& parent, std::uint32_t i);
  } rows[] = {
      {"attributes that all have", 55,
       [](const Element& parent, std::uint32_t i) {
         return Has(parent, {NameMatch::Exact, "a", 1 + i / 55}, "x" + std::to_string(i % 55));
       }},
      {"others than those that the index has lists for", 1,
       [](const Element& parent, std::uint32_t i) {
         if (i < 256) return !Has(parent, {NameMatch::Exact, "b"}, "y" + std::to_string(i));
         return Has(parent, {NameMatch::Exact, "b", i - 255}, "k");
       }},
      {"more than there is room for", 1,
       [](const Element& parent, std::uint32_t i) {
         const std::string name = i % 2 == 0 ? "" : "a";
         return Has(parent, {NameMatch::Prefix, name, 30}, "x" + std::to_string(i / 2 % 55));
       }},
      {"values of all attributes in turn", 1,
       [](const Element& parent, std::uint32_t i) {
         ChildQuery query{.match = NameMatch::Exact, .name = "a", .valueBegin = "none"};
         return !Has(parent, query, "x" + std::to_string(i % 55));
       }},
      {"forty in turn that other children lack", 40,
       [](const Element& parent, std::uint32_t i) {
         return Has(parent, {NameMatch::Prefix, "", 1 + i / 40}, "x" + std::to_string(i % 40));
       }},
      {"counts", 1,
       [](const Element& parent, std::uint32_t) { return parent.CountChildren("none") == 0; }},
      {"values that all have", 40,
       [](const Element& parent, std::uint32_t) {
         return Has(parent, {.match = NameMatch::Prefix, .name = "", .valueBegin = ""}, "k");
       }},
  };
  const std::string tag = "<a" + Repeat(" x@=''", 55) + "/>";
  for (const auto& [name, times, search] : rows) {
    std::clock_t clocks[2] = {};
    const std::uint32_t few = IS_SANITIZED ? 200 : 500;
    for (const std::uint32_t count : {few, 4 * few}) {
      const Parsed parsed("<r>" + Repeat(tag, count) + Repeat("<b k=''/><c k=''/>", count) +
                          "</r>");
      Element root = parsed.At("");
      root.SetAttribute("set", "once");
      const std::size_t before = InUse();
      const std::clock_t start = std::clock();
      for (std::uint32_t i = 0; i < times * count; ++i) ASSERT_TRUE(search(root, i)) << name;
      clocks[count != few] = std::clock() - start;
      EXPECT_LT(InUse() - before, 3 * count * 37 * sizeof(std::uint32_t)) << name;
    }
    EXPECT_LT(clocks[1], 8 * clocks[0] + CLOCKS_PER_SEC / 100) << name;
  }
}

TEST(Children, JoinTheListsThatTheyMatch) {
  const Ostrum::TextFilter noY{1, [](auto text) { return text.find('y') == text.npos; }};
  const ChildQuery queries[] = {
      {.match = NameMatch::Prefix, .name = "a", .n = 41},
      {.match = NameMatch::Prefix, .name = "a", .n = 41, .attribute = "k"},
      {.match = NameMatch::Prefix, .name = "a", .n = 41, .filter = noY},
  };
  const Parsed parsed("<!DOCTYPE r [<!ATTLIST a3 k CDATA ''>]><r>" +
                      Repeat("<a1 k=''/><a2 k=''/>", 20) + "</r>");
  std::string found;
  for (const char* const added : {"", "b", "ay", "a3"}) {
    parsed.At("").AddElementInto(added);
    for (const ChildQuery& query : queries)
      found.append(parsed.At("").FindChild(query).GetName()).append(",");
  }
  EXPECT_EQ(found, ",,,,,,ay,,,ay,a3,a3,");
}

} // namespace
