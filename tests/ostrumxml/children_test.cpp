// Finding children by their index, as a walk over all of them would.
#include <gtest/gtest.h>

#include <ctime>
#include <span>

#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::ChildQuery;
using Ostrum::Element;
using Ostrum::NameMatch;

bool IsAskedFor(const Element& child, const ChildQuery& query) {
  const std::string_view name = child.GetName();
  const bool isWhole = name == query.name;
  if (!name.starts_with(query.name) || (query.match == NameMatch::Exact && !isWhole)) return false;
  if (!isWhole && !query.filter.Accepts(name)) return false;
  if (!query.attribute) return true;
  const Ostrum::Value attribute = child.GetAttribute(*query.attribute);
  if (attribute.IsNull() || !query.valueBegin) return !attribute.IsNull();
  const std::string value = attribute.GetValue();
  return value.starts_with(*query.valueBegin) && query.filter.Accepts(value);
}

Element Walk(const Element& parent, ChildQuery query) {
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    if (IsAskedFor(child, query) && --query.n == 0) return child;
  }
  return {};
}

TEST(Children, AreThoseThatAWalkFinds) {
  const Ostrum::TextFilter filters[] = {
      {}, {1, [](std::string_view text) { return text.find('2') == text.npos; }}};
  std::string markup;
  for (std::size_t i = 0; i < 150; ++i) {
    const std::string name(Split("a|a2|ab|b")[i * 7 % 4]), value = std::to_string(i * 37 % 50);
    markup += "<" + name + (i % 3 != 0 ? " k='&#49;" + value + "'" : "") +
              (i % 5 != 0 ? " m='" + value + "'" : "") + "/>";
  }
  const Parsed parsed("<r>" + markup + "</r>");
  const Element parent = parsed.At("");
  using Given = std::optional<std::string_view>;
  const auto expectTheSame = [&parent](const ChildQuery& query) {
    if (query.valueBegin && (!query.attribute || query.n != 1)) return; // not allowed
    EXPECT_EQ(parent.FindChild(query), Walk(parent, query)) << query.name;
  };
  for (const std::string_view name : Split("a|ab||b2")) {
    for (const Given& attribute : {Given(), Given("k"), Given("m"), Given("none")}) {
      for (const Given& begin : {Given(), Given(""), Given("1"), Given("14"), Given("x")}) {
        for (const std::uint32_t n : {1U, 9U, 200U}) {
          for (const Ostrum::TextFilter& filter : filters) {
            expectTheSame({NameMatch::Exact, name, n, attribute, begin, filter});
            expectTheSame({NameMatch::Prefix, name, n, attribute, begin, filter});
          }
        }
      }
    }
  }
}

// The processor time of searches for attributes that all children have, in turn; then for others
// than those that the index has lists for; then for more in turn than it has room for.
std::clock_t TimeInTurn(std::uint32_t count) {
  std::vector<std::string> shared, absent;
  std::string tag = "<a";
  for (int i = 0; i < 55; ++i) tag += " " + shared.emplace_back("x" + std::to_string(i)) + "=''";
  for (int i = 0; i < 64; ++i) absent.push_back("y" + std::to_string(i));
  const Parsed parsed("<r>" + Repeat(tag + "/>", count) + Repeat("<b k=''/><b/>", count) + "</r>");
  const Element parent = parsed.At("");
  const auto find = [&](ChildQuery query, const std::string& attribute) {
    query.attribute = attribute;
    return !parent.FindChild(query).IsNull();
  };
  const std::clock_t start = std::clock();
  for (std::uint32_t n = 1; n <= count; ++n) {
    for (const std::string& each : shared) EXPECT_TRUE(find({NameMatch::Exact, "a", n}, each));
  }
  for (const std::string& each : absent) EXPECT_FALSE(find({NameMatch::Exact, "b"}, each));
  for (std::uint32_t n = 1; n <= count; ++n) EXPECT_TRUE(find({NameMatch::Exact, "b", n}, "k"));
  for (std::uint32_t round = 0; round < count / 50; ++round) {
    for (const char* const name : {"", "a"}) {
      for (const std::string& each : std::span(shared).first(15)) {
        EXPECT_TRUE(find({NameMatch::Prefix, name}, each));
        EXPECT_TRUE(find({.match = NameMatch::Prefix, .name = name, .valueBegin = ""}, each));
      }
    }
  }
  return std::clock() - start;
}

TEST(Children, AreFoundInProportionWhateverIsAskedInTurn) {
  TimeInTurn(100); // what the first use of memory takes
  const std::clock_t shorter = TimeInTurn(1'000);
  EXPECT_LT(TimeInTurn(4'000), 8 * shorter);
}

} // namespace
