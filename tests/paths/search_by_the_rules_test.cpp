// The path search against another one, which follows the rules word by word: recursive, child by child.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "paths/parsed.h"
#include "paths/path_search.h"
#include "support/log_lines.h"

using Lines = std::vector<std::string>;
using Ostrum::Element;

namespace {

std::string Narrow(const std::wstring& ascii) { return {ascii.begin(), ascii.end()}; }

const Element* FindByTheRules(const Element& start, const std::string& path, std::uint32_t occurrence, Lines& lines) {
  if (start.Begin() == start.End()) return Narrow(start.GetName()).starts_with(path) ? &start : &Element::null;
  if (path.empty()) lines.push_back("Source token is NULL or empty");

  const std::size_t slash = path.find('\\');
  const bool isLast = slash == std::string::npos;
  const std::string component = path.substr(0, slash);
  const std::size_t ampersand = component.find('&');
  const std::size_t equals = ampersand == std::string::npos ? ampersand : component.find('=', ampersand);
  const std::string name = component.substr(0, ampersand);
  std::uint32_t count = 0;
  for (auto child = start.Begin(); !(child == start.End()); ++child) {
    if (!Narrow(child->GetName()).starts_with(name)) continue;
    if (equals != std::string::npos) {
      const std::string key = component.substr(ampersand + 1, equals - ampersand - 1);
      const std::string value = component.substr(equals + 1);
      const Ostrum::Attribute attribute = child->GetAttribute(std::wstring(key.begin(), key.end()).c_str());
      if (attribute.IsNull() || !Narrow(attribute.GetValue()).starts_with(value)) continue;
      lines.push_back("Found " + value + " (attribute) in the element map.");
    } else if (isLast) {
      if (++count != occurrence) continue;
      lines.push_back(name + (occurrence > 1 ? std::to_string(occurrence) : "") +
                      " (element) not found in the element map.");
    } else {
      lines.push_back("Found " + name + " (element) in the element map.");
    }
    return isLast ? &*child : FindByTheRules(*child, path.substr(slash + 1), occurrence, lines);
  }
  lines.push_back(path + " not found in the element map.");
  return &Element::null;
}

class Chance {
 public:
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine() % limit); }
  std::string Pick(const std::vector<std::string>& from) {
    return from[Below(static_cast<std::uint32_t>(from.size()))];
  }

 private:
  std::mt19937 engine{20240229};
};

std::string RandomElement(Chance& chance, int depth) {
  const std::string name = chance.Pick({"a", "a", "ab", "abc", "b"});
  std::string xml = "<" + name + chance.Pick({"", "", " k='v'", " k='vw'", " l=''"}) + ">";
  for (std::uint32_t i = depth == 0 ? 0 : chance.Below(7); i > 0; --i) xml += RandomElement(chance, depth - 1);
  return xml + "</" + name + ">";
}

std::string RandomPath(Chance& chance) {
  std::string path;
  for (std::uint32_t i = chance.Below(4) + 1; i > 0; --i) {
    path += chance.Pick({"a", "a", "ab", "abc", "b", ""}) + chance.Pick({"", "", "", "&k=v", "&k=", "&l", "&l=x=&"});
    if (i > 1 || chance.Below(9) == 0) path += '\\';
  }
  return path;
}

} // namespace

TEST(FindElementByPath, DoesWhatTheRulesSay) {
  Chance chance;
  LogLines log;
  int found = 0;
  for (int document = 0; document < 200; ++document) {
    const auto parsed = Parse("<r>" + RandomElement(chance, 4) + RandomElement(chance, 4) + "</r>");
    for (int i = 0; i < 100; ++i) {
      const std::string path = RandomPath(chance);
      const std::uint32_t occurrence = chance.Below(6);
      Lines lines;
      const Element* const expected = FindByTheRules(parsed->GetRoot(), path, occurrence, lines);
      ASSERT_EQ(expected, FindElementByPath(&parsed->GetRoot(), path.c_str(), occurrence)) << path << ' ' << occurrence;
      ASSERT_EQ(lines, log.Take()) << path << ' ' << occurrence;
      found += !expected->IsNull();
    }
  }
  EXPECT_GT(found, 2000); // both outcomes are common
  EXPECT_LT(found, 18000);
}
