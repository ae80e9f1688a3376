// Finding children by their index, as a walk over all of them would.
#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <random>

#include "ostrumxml/parsed_document.h"
#include "support/text.h"

namespace {

using Ostrum::ChildQuery;
using Ostrum::Element;
using Ostrum::NameMatch;

Element Walk(const Element& parent, ChildQuery query) {
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling()) {
    const std::string_view name = child.GetName();
    if (!name.starts_with(query.name)) continue;
    const bool isWhole = name == query.name;
    if (!isWhole && (query.match == NameMatch::Exact || !query.filter.Accepts(name))) continue;
    const Ostrum::Value value = child.GetAttribute(query.attribute.value_or(""));
    if (query.attribute && value.IsNull()) continue;
    const std::string text = value.GetValue();
    if (query.valueBegin && !text.starts_with(*query.valueBegin)) continue;
    if (query.valueBegin && !query.filter.Accepts(text)) continue;
    if (--query.n == 0) return child;
  }
  return {};
}

// Also after changes. The first searches of each document are made without an index.
TEST(Children, AreThoseThatAWalkFinds) {
  const Ostrum::TextFilter filters[] = {
      {}, {1, [](std::string_view text) { return text.find('2') == text.npos; }}};
  std::mt19937 random; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same queries each time
  const auto any = [&random](std::string_view texts) {
    const auto parts = Split(texts);
    return std::string(parts[random() % parts.size()]);
  };
  for (int round = 0; round < 200; ++round) {
    std::string markup;
    for (int i = 0; i < 150; ++i)
      markup += any("<a|<a2|<ab|<b") + any("| k='1'| k='&#49;4'| k='12' m='x'| m=''") + "/>";
    const Parsed parsed("<r>" + markup + "</r>");
    Element parent = parsed.At("");
    for (int i = 0; i < 100; ++i) {
      const std::string name = any("a|ab||b2"), attribute = any("k|m|none"), begin = any("|1|14|x");
      ChildQuery query{i % 2 == 0 ? NameMatch::Exact : NameMatch::Prefix, name};
      query.filter = filters[random() % 2];
      if (i % 3 != 0) query.attribute = attribute;
      if (i % 3 == 1) query.valueBegin = begin;
      if (i % 3 != 1) query.n = std::array{1U, 9U, 200U}[random() % 3];
      Element found = Walk(parent, query);
      EXPECT_EQ(parent.FindChild(query), found) << name;
      const auto change = random() % 20;
      if (change == 0) parent.AddElementInto(any("a|ab|b"));
      if (change == 1 && !found.IsNull()) parent.RemoveChild(found);
      if (change == 2 && !found.IsNull()) found.SetAttribute(attribute, begin);
      if (change == 3 && !found.GetAttribute("k").IsNull()) found.RemoveAttribute("k");
    }
  }
}

// The processor time of searches for attributes that all children have, in turn; then for others
// than those that the index has lists for; then for more in turn than it has room for.
std::clock_t TimeInTurn(std::uint32_t count) {
  const std::string tag = "<a" + Repeat(" x@=''", 55) + "/>";
  const Parsed parsed("<r>" + Repeat(tag, count) + Repeat("<b k0=''/><b/>", count) + "</r>");
  const auto find = [&parsed](ChildQuery query, char letter, std::uint32_t number) {
    const std::string attribute = letter + std::to_string(number);
    query.attribute = attribute;
    return !parsed.document->GetRoot().FindChild(query).IsNull();
  };
  const std::clock_t start = std::clock();
  for (std::uint32_t i = 0; i < 55 * count; ++i)
    EXPECT_TRUE(find({NameMatch::Exact, "a", 1 + i / 55}, 'x', i % 55));
  for (std::uint32_t i = 0; i < 64; ++i) EXPECT_FALSE(find({NameMatch::Exact, "b"}, 'y', i));
  for (std::uint32_t n = 1; n <= count; ++n) EXPECT_TRUE(find({NameMatch::Exact, "b", n}, 'k', 0));
  for (std::uint32_t i = 0; i < count / 50 * 60; ++i) {
    ChildQuery query{NameMatch::Prefix, i % 2 == 0 ? "" : "a"};
    if (i % 4 < 2) query.valueBegin = "";
    EXPECT_TRUE(find(query, 'x', i / 4 % 15));
  }
  return std::clock() - start;
}

TEST(Children, AreFoundInProportionWhateverIsAskedInTurn) {
  TimeInTurn(100); // what the first use of memory takes
  const std::clock_t shorter = TimeInTurn(1'000);
  EXPECT_LT(TimeInTurn(4'000), 8 * shorter);
}

} // namespace
