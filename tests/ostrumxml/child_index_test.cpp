// The index must find the same children as a walk, while children and attributes are added.
#include <gtest/gtest.h>

#include <random>

#include "ostrumxml/parsed_document.h"

namespace {

using Ostrum::Element;
using Ostrum::NameMatch;

constexpr const char* names[] = {"a", "ab", "abc", "b", "ba", "\xC3\xA4", "z"};
constexpr const char* values[] = {"1", "12", "2", ""};

template <class Matches>
Element Walk(const Element& parent, std::uint32_t n, Matches matches) {
  for (auto child = parent.Begin(); !(child == parent.End()); ++child) {
    if (matches(*child) && n-- == 1) return *child;
  }
  return {};
}

void ExpectTheSame(const Element& parent, const std::string& text, const std::string& value,
                   std::uint32_t n) {
  SCOPED_TRACE(testing::Message() << text << ' ' << value << ' ' << n);
  const auto is = [&](const Element& child) { return child.GetName() == text; };
  const auto begins = [&](const Element& child) { return child.GetName().starts_with(text); };
  const auto has = [&](const Element& child) { return !child.GetAttribute("k").IsNull(); };
  const auto isWith = [&](const Element& child) { return is(child) && has(child); };
  const auto beginsWithValue = [&](const Element& child) {
    return begins(child) && has(child) && child.GetAttribute("k").GetValue().starts_with(value);
  };
  EXPECT_EQ(parent.NthChild(NameMatch::Exact, text, n), Walk(parent, n, is));
  const std::uint32_t count = parent.CountChildren(text);
  EXPECT_TRUE(count == 0 || !Walk(parent, count, is).IsNull());
  EXPECT_TRUE(Walk(parent, count + 1, is).IsNull());
  EXPECT_EQ(parent.NthChild(NameMatch::Prefix, text, n), Walk(parent, n, begins));
  EXPECT_EQ(parent.FindChild({.match = NameMatch::Exact, .name = text, .n = n, .attribute = "k"}),
            Walk(parent, n, isWith));
  EXPECT_EQ(parent.FindChild(
                {.match = NameMatch::Prefix, .name = text, .attribute = "k", .valueBegin = value}),
            Walk(parent, 1, beginsWithValue));
}

TEST(ChildIndex, FindsWhatAWalkFinds) {
  std::mt19937 engine(7);
  const auto random = [&engine](std::size_t below) {
    return static_cast<std::uint32_t>(engine() % below);
  };
  const auto any = [&random](const auto& list) {
    return std::string(list[random(std::size(list))]);
  };
  for (const unsigned count : {0U, 23U, 24U, 25U, 300U}) {
    std::string bytes = "<r>";
    for (unsigned i = 0; i < count; ++i)
      bytes += "<" + any(names) + (random(2) ? " k='" + any(values) + "'/>" : "/>");
    const Parsed parsed(bytes + "</r>");
    Element parent = parsed.At("");
    for (int step = 0; step < 400; ++step) {
      const std::string text = any(names);
      ExpectTheSame(parent, step % 5 == 0 ? "" : text, any(values),
                    random(step % 3 == 0 ? 4 : 100));
      if (step % 20 == 0) parent.AddElementInto(text);
      Element changed = parent.NthChild(NameMatch::Prefix, "", 1 + random(20));
      if (step % 30 != 0 || changed.IsNull()) continue;
      Ostrum::Attribute attribute = changed.GetAttribute("k");
      if (attribute.IsNull()) attribute = changed.CreateAttribute("k");
      static_cast<Ostrum::Value>(attribute).Set(any(values));
    }
  }
}

} // namespace
