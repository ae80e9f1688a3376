#include "paths/path_search.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "paths/parsed.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"

using Lines = std::vector<std::string>;

namespace {

struct Case {
  std::string path;
  std::uint32_t occurrence;
  std::string id; // of the element found; empty: none
  Lines lines;
};

// Every element carries its identity in the attribute id.
void Check(const std::string& xml, const std::vector<Case>& cases) {
  const auto document = Parse(xml);
  LogLines log;
  for (const Case& it : cases) {
    SCOPED_TRACE(it.path.substr(0, 100) + " " + std::to_string(it.occurrence));
    SearchEnd end{};
    const Ostrum::Element* const found = FindElementByPath(&document->GetRoot(), it.path.c_str(), it.occurrence, &end);
    EXPECT_EQ(it.id.empty(), found == &Ostrum::Element::null);
    EXPECT_EQ(std::wstring(it.id.begin(), it.id.end()), found->GetAttribute(L"id").GetValue());
    EXPECT_EQ(it.id.empty() ? SearchEnd::Missing : SearchEnd::Found, end);
    EXPECT_EQ(it.lines, log.Take());
  }
}

std::string Selected(const std::string& name) { return name + " (element) not found in the element map."; }
std::string Entered(const std::string& name) { return "Found " + name + " (element) in the element map."; }
std::string Filtered(const std::string& value) { return "Found " + value + " (attribute) in the element map."; }
std::string Missing(const std::string& path) { return path + " not found in the element map."; }
const std::string emptyToken = "Source token is NULL or empty";

} // namespace

TEST(FindElementByPath, CountsTheMatchesOfTheLastComponent) {
  Check("<Catalog>text<P id='1'/><!-- c --><P id='2'/><Extra id='3'/><PX id='4'/><P id='5'/></Catalog>",
        {{"P", 1, "1", {Selected("P")}},
         {"P", 2, "2", {Selected("P2")}},
         {"P", 3, "4", {Selected("P3")}}, // by prefix
         {"P", 4, "5", {Selected("P4")}},
         {"P", 5, "", {Missing("P")}},
         {"P", 4294967295u, "", {Missing("P")}},
         {"P", 0, "", {Missing("P")}},
         {"PX", 1, "4", {Selected("PX")}},
         {"p", 1, "", {Missing("p")}},
         {"", 4, "4", {emptyToken, Selected("4")}}});
}

TEST(FindElementByPath, GoesDownTheFirstMatchOnly) {
  Check("<r><A id='1'/><A id='2'><B id='3'/></A><FileList id='4'><FileItem id='5'/><FileItem id='6'/></FileList></r>",
        {{"A\\B", 1, "", {Entered("A")}}, // the first A is a leaf, and not named B
         {"A\\A", 1, "1", {Entered("A")}},
         {"A\\", 1, "1", {Entered("A")}},
         {"A\\A\\B", 1, "", {Entered("A")}},
         {"File\\FileItem", 2, "6", {Entered("File"), Selected("FileItem2")}},
         {"FileList\\", 2, "6", {Entered("FileList"), emptyToken, Selected("2")}},
         {"FileList\\X\\Y", 1, "", {Entered("FileList"), Missing("X\\Y")}},
         {"\\FileItem", 1, "", {Entered("")}},
         {"X\\Y", 1, "", {Missing("X\\Y")}}});
  Check("<Version id='1'>text</Version>",
        {{"Ver", 7, "1", {}}, {"Versions", 1, "", {}}, {"", 1, "1", {}}, {"V\\", 1, "", {}}});
}

TEST(FindElementByPath, ChoosesByAttribute) {
  const std::string long300(300, 'v');
  Check(
      "<r><S id='1'/><S id='2' Name='EngineFileOld'><T id='3'/></S><S id='4' Name='EngineFile' b='x=y' c='&amp;&amp;'/>"
      "<S id='5' Name='" +
          std::string(254, 'v') + "'/></r>",
      {{"S&Name=EngineFile", 3, "2", {Filtered("EngineFile")}},
       {"S&Name=EngineFile\\T", 1, "3", {Filtered("EngineFile"), Selected("T")}},
       {"S&Name=", 0, "2", {Filtered("")}},
       {"S&Name=enginefile", 1, "", {Missing("S&Name=enginefile")}},
       {"S&Name", 3, "4", {Selected("S3")}},
       {"S&", 3, "4", {Selected("S3")}},
       {"&b=x=y", 1, "4", {Filtered("x=y")}},
       {"S&c=&", 1, "4", {Filtered("&")}},
       {"S&=x", 1, "", {Missing("S&=x")}},
       {"S&not a name=x", 1, "", {Missing("S&not a name=x")}},
       // Only the first 259 bytes of the component count: 7 and 252 of the value.
       {"S&Name=" + long300, 1, "5", {Filtered(long300.substr(0, 252))}},
       {long300 + "&Name=x", 1, "", {Missing(long300 + "&Name=x")}}});
}

TEST(FindElementByPath, ComparesLongComponentsWhole) {
  const std::string name(700, 'n');
  Check("<r><" + name + " id='1'/></r>",
        {{name, 1, "1", {Selected(name)}}, {name + "n", 1, "", {Missing(name + "n")}}});
}

TEST(FindElementByPath, LogsEachNameThatCannotBeConverted) {
  const LocaleGuard locale("C");
  const std::string failed = "Failed to get the length of \u00e9:  " + std::string(std::strerror(EILSEQ));
  Check("<r><\u00e9/><\u00e9/><\u00e9/><a id='1'/><\u00e9/><b id='2' x='\u00e9'/><b id='3' x='e'/></r>",
        {{"a", 1, "1", {failed, failed, failed, Selected("a")}},
         {"c", 1, "", {failed, failed, failed, failed, Missing("c")}},
         {"b&x=", 1, "3", {failed, failed, failed, failed, failed, Filtered("")}}});
}

// In linear time and without recursion, or this runs into the test's time limit or the end of the stack.
TEST(FindElementByPath, ReachesAnyDepth) {
  constexpr int depth = 100000;
  std::string xml = "<r>";
  std::string path;
  for (int i = 0; i < depth; ++i) xml += "<a>";
  for (int i = 0; i < depth; ++i) xml += "</a>";
  for (int i = 0; i < depth; ++i) path += i == 0 ? "a" : "\\a";
  const auto document = Parse(xml + "</r>");
  const auto find = [&](const std::string& p) { return FindElementByPath(&document->GetRoot(), p.c_str(), 1); };

  Ostrum::Element* deepest = &document->GetRoot();
  while (!(deepest->Begin() == deepest->End())) deepest = &*deepest->Begin();
  EXPECT_EQ(deepest, find(path));
  EXPECT_EQ(deepest, find(path + "\\a")); // a leaf may stand for itself
  EXPECT_EQ(&Ostrum::Element::null, find(path + "\\b"));
  EXPECT_EQ(&Ostrum::Element::null, find("a\\b" + path));
}
