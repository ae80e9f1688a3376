// tarvik.hpp on the library as programs use it.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <tarvik/tarvik.hpp>
#include <type_traits>
#include <vector>

#include "corekit/corekit.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

using tarvik::Document;
using tarvik::Error;
using tarvik::Group;
using Rows = std::vector<std::pair<std::string, std::string>>;

static_assert(std::is_nothrow_move_constructible_v<Document> &&
              !std::is_copy_constructible_v<Document>);

class Objects : public testing::Test {
 protected:
  Document Open(const std::string& text, const std::string& root = "R") const {
    return {folder.Write("file.xml", text), root};
  }

  TempFolder folder;
};

// The code and message of what the work throws; "0" if nothing.
template <class Work>
std::string Thrown(Work work) {
  try {
    work();
  } catch (const Error& error) {
    return std::to_string(error.Code()) + " " + error.what();
  }
  return "0";
}

std::string Joined(const auto& range, auto textOf) {
  std::string all;
  for (const auto& one : range) all += textOf(one) + ' ';
  return all;
}

std::string Ids(const Group& group, const std::string& path) {
  return Joined(group.Groups(path), [](const Group& found) { return found.Id(); });
}

TEST_F(Objects, ReadValuesWholeAndAtOnce) {
  const auto begin = std::chrono::steady_clock::now();
  for (const std::size_t size : {0U, 1U, 510U, 511U, 512U, 2047U, 70'000U}) {
    const std::string value(size, 'v');
    const Document document =
        Open("<R><a b='" + value + "'>" + value + "</a><a>" + value + "</a></R>");
    EXPECT_EQ(document.Get("a"), value);
    EXPECT_EQ(document.Get("a", "b"), value);
    EXPECT_EQ(*++document.Items("a").begin(), value);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)); // of seven waits
}

TEST_F(Objects, ReadNumbersAndBoolWholeOrNotAtAll) {
  const Document document = Open(
      "<R><int>-42</int><big>256</big><part>12 </part><empty/><real>2.5e3</real><yes>true</yes>"
      "<no>0</no><one>1</one><not>false</not><far>\u4e2d</far></R>");
  EXPECT_EQ(document.Get<int>("int"), -42);
  EXPECT_EQ(document.Get<std::uint16_t>("big"), 256);
  EXPECT_EQ(document.Get<double>("real"), 2500);
  EXPECT_TRUE(*document.Get<bool>("yes") && *document.Get<bool>("one"));
  EXPECT_FALSE(*document.Get<bool>("no") || *document.Get<bool>("not"));
  EXPECT_EQ(document.Get<long>("none"), std::nullopt);
  EXPECT_EQ(Thrown([&] { document.Get("far"); }),
            "34 R\\far: refused or failed (the log gives the reason)"); // not in this locale
  const Rows rows = {{Thrown([&] { document.Get<unsigned>("int"); }), "int = \"-42"},
                     {Thrown([&] { document.Get<std::uint8_t>("big"); }), "big = \"256"},
                     {Thrown([&] { document.Get<int>("part"); }), "part = \"12 "},
                     {Thrown([&] { document.Get<int>("empty"); }), "empty = \""},
                     {Thrown([&] { document.Get<int>("real"); }), "real = \"2.5e3"},
                     {Thrown([&] { document.Get<bool>("int"); }), "int = \"-42"}};
  for (const auto& [thrown, shown] : rows)
    EXPECT_EQ(thrown, "34 R\\" + shown + "\": not a value of the type asked for");
}

TEST_F(Objects, OpenOnlyWithTheRootsExactName) {
  for (const std::string text : {"<Site><SiteList><v>1</v></SiteList></Site>", "<Site/>"}) {
    for (const char* name : {"Sit", "S", "", "Sites", "SiteList", "Site\\", "Site\\SiteList",
                             "site", "Not Found", "Site&a=b"})
      EXPECT_EQ(Thrown([&] { Open(text, name); }).substr(0, 2), "3 ") << name << text;
    EXPECT_EQ(Open(text, "Site").Root().Id(), "Site");
  }
  EXPECT_EQ(Open("<" + Repeat("r", 259) + "/>", Repeat("r", 259)).Root().Id(), Repeat("r", 259));
  const Document document = Open("<Ab><A2 n='1'/><A2 n='2'/></Ab>", "Ab");
  EXPECT_EQ(document.OpenGroup("A2")->Get("A2", "n"), "1"); // the second A is not under that ID
  corekit::SetUtf8(true);
  EXPECT_EQ(Open("<\u00e9/>", "\u00e9").Root().Id(), "\u00e9");
  corekit::SetUtf8(false);
}

TEST_F(Objects, NameTheFileOrItemThatFailed) {
  const std::string file = folder.Name("file.xml"), zero("a\0b", 3), longPath(248, 'g');
  EXPECT_EQ(Thrown([&] { Document(file, "R"); }), "5 " + file + ": no such file");
  Document document = Open("<R><g><a>1</a></g><g/></R>");
  const std::string before = folder.Read("file.xml"),
                    second(Split(Ids(document.Root(), "g"), ' ')[1]);
  const Rows rows = {
      {Thrown([&] { document.Items(zero).begin(); }), "34 "},
      {Thrown([&] { document.Get("g", zero); }), "34 R\\g&a: contains a zero byte"},
      {Thrown([&] { document.OpenGroup(zero); }), "34 "},
      {Thrown([&] { document.Set("g", "a", zero); }), "34 a: contains a zero byte"},
      {Thrown([&] { document.Set("g", zero, "v"); }), "34 "},
      {Thrown([&] { document.Set(zero, "a", "v"); }), "34 "},
      {Thrown([&] { document.OpenGroup(longPath); }),
       "34 R\\" + longPath + ": the path is too long"},
      {Thrown([&] { document.OpenGroup(longPath.substr(1)); }), "0"},
      {Thrown([&] { document.OpenGroup("g")->OpenGroup(longPath.substr(1)); }),
       "34 g\\" + longPath.substr(1) + ": the path is too long"},
      {Thrown([&] { document.Set("g&1a=b", "a", 1); }), "34 R\\g&1a=b\\a: refused"},
      {Thrown([&] { document.Set("", "no name", 1); }),
       "34 R\\no name: refused or failed (the log gives the reason)"},
      {Thrown([&] { Document(file, "R", true); }),
       "43 " + file + ": invalid in its encoding, or refused by the cipher"},
      {Thrown([&] { Document(folder.Path().string(), "R"); }),
       "42 " + folder.Path().string() + ": the file can't be read"},
      {Thrown([] { throw Error(XmlNotFound, "x"); }), "3 x: not found"},
      {Thrown([&] { Document(file + std::string("\0x", 2), "R"); }), "34 "},
      {Thrown([&] { Document(file, zero); }), "34 "},
      // What the functions would ignore or mistake.
      {Thrown([&] { document.SetAttribute("g", "a", ""); }), "34 "},
      {Thrown([&] { document.SetAttribute("g", "", "v"); }), "34 "},
      {Thrown([&] { document.Set(second + "\\h", "a", "v"); }), "34 "},
      {Thrown([&] { document.Set("", "R", "v"); }), "34 R: a new child of the root's name"},
      {Thrown([&] { document.SetAttribute("R\\R&a=b\\c", "d", "v"); }), "34 R\\R&a=b\\c: a new"},
      {Thrown([&] { document.Set("R\\R\\c", "d", "v"); }), "34 R\\R\\c: a new"},
      {Thrown([&] { document.SetAttribute("R\\g&a=b\\" + second, "a", "v"); }), "34 "}};
  for (const auto& [thrown, begin] : rows) EXPECT_EQ(thrown.substr(0, begin.size()), begin);
  EXPECT_EQ(folder.Read("file.xml"), before);
  EXPECT_EQ(Thrown([&] { Open("<R>"); }), "1 " + file + ": not well-formed XML, or out of memory");
}

TEST_F(Objects, FindNothingTwiceAndNothingElse) {
  const Document document =
      Open("<R><Items>" + Repeat("<Item><n>@</n></Item>", 12) +
           "<Item1><n>a</n></Item1><Item1><n>b</n></Item1></Items>"
           "<Set k='1'/><Set k='12'/><Set k='1&amp;2'/><Empty/><R><n>r</n></R></R>");
  const auto numbers = [&](const char* path) {
    return Joined(document.Groups(path), [](const Group& item) { return *item.Get("n"); });
  };
  const auto ids = [&](const char* path) { return Ids(document.Root(), path); };
  const Rows rows = {{numbers("Items\\Item1"), "a b "},
                     {numbers("R\\Items\\Item1"), "a b "},
                     {numbers("Items\\Item"), "0 1 2 3 4 5 6 7 8 9 10 11 a b "},
                     {numbers("Items\\Item12"), ""},
                     {ids("Set"), "Set Set&2 Set&3 "},
                     {ids("Set&k=1"), "Set&k=1 "},
                     {ids("Set&k=3") + ids("none"), ""},
                     {ids("") + ids("R"), "R R "},
                     {ids("Set&k=1\\Se"), ""}, // no element of an element without children
                     {numbers("R\\R"), "r "},
                     {ids("R\\R\\R"), ""}};
  for (const auto& [found, expected] : rows) EXPECT_EQ(found, expected);
  const Group empty = document.OpenGroup("Empty").value();
  EXPECT_EQ(Ids(empty, "Emp"), ""); // the functions give the element itself for every number
  EXPECT_FALSE(empty.OpenGroup("Emp") || Open("<Root/>", "Root").OpenGroup("Ro"));
  EXPECT_FALSE(document.Get("Ite") || document.Get("Set", "none"));
  EXPECT_EQ(document.Get("Set", "k"), "1");
  EXPECT_EQ(document.OpenGroup("Set&k=12")->Get("Set", "k"), "12"); // its own attribute
}

TEST_F(Objects, TakeNoNameForTheRoots) {
  Document document = Open(
      "<Site><Site/><SiteList><v>1</v><Site><v>2</v><Site><v>3</v></Site></Site></SiteList></Site>",
      "Site");
  const Group list = document.OpenGroup("SiteList").value();
  EXPECT_EQ(list.OpenGroup("Site")->OpenGroup("Site")->Get("v"), "3");
  for (const char* path : {"SiteList\\Site", "Site\\SiteList\\Site"})
    EXPECT_EQ(document.OpenGroup(path).value().Get("v"), "2");
  document.Set("Site\\SiteList\\Site", "v", 5);
  document.Set("Site\\Site", "v", 4);
  EXPECT_EQ(document.OpenGroup("Site\\Site")->Get<int>("v"), 4);
  EXPECT_EQ(list.OpenGroup("Site")->Get<int>("v"), 5);
}

TEST_F(Objects, HoldWhatTheyNeed) {
  std::optional<Document> first(Open("<R><g><a>1</a><a>2</a></g><g><a>3</a></g></R>"));
  const Group& root = first->Root();
  const auto groups = Group(root).Groups(std::string("g"));
  auto items = first->OpenGroup("g")->Items(std::string("a"));
  const Document second = std::move(*first);
  first.reset();
  EXPECT_EQ(Joined(groups, [](const Group& group) { return *group.Get("a"); }), "1 3 ");
  EXPECT_EQ(std::count(items.begin(), items.end(), "2"), 1);
  auto it = items.begin();
  const std::string before = *it++;
  EXPECT_EQ(before + it->c_str(), "12");
  EXPECT_TRUE(++it == items.end() && it != items.begin() && ++items.begin() != items.begin());
  EXPECT_FALSE(items.begin() != items.begin() || ++items.begin() == items.begin());
  EXPECT_EQ(root.Get("a"), std::nullopt);
}

TEST_F(Objects, WriteWhatTheyReadBack) {
  Document document = Open("<R><Timeout>1</Timeout></R>");
  const auto expectReadBack = [&]<class T>(const T& value) {
    document.Set("New", "value", value);
    document.SetAttribute("New\\value", "also", value);
    const Group group = document.OpenGroup("New").value();
    EXPECT_TRUE(group.Get<T>("value") == value && group.Get<T>("value", "also") == value) << value;
  };
  expectReadBack(std::string("a<b"));
  expectReadBack(0.1);
  expectReadBack(std::numeric_limits<double>::max());
  expectReadBack(std::numeric_limits<std::int64_t>::min());
  expectReadBack(2024U);
  expectReadBack(true);
  document.Set("New", "pointer", std::string("p").c_str());
  document.Set("New", "literal", "l");
  document.Set("R\\New", "R", std::string_view("whole", 2));
  document.Set("", "empty", "");
  document.SetAttribute("", "R", false); // not a child of the root's name
  document.Set("", "Time", 2);           // the first whose name begins so
  document.Set("New&a=b&1", "t", "v");   // an attribute's value
  document.Set("New&\\t2", "u", "w");    // neither a filter nor a number
  EXPECT_EQ(
      folder.Read("file.xml"),
      "<R R=\"false\"><Timeout>2</Timeout><New a=\"b&amp;1\"><value also=\"true\">true</value>"
      "<pointer>p</pointer><literal>l</literal><R>wh</R><t>v</t><t2><u>w</u></t2></"
      "New><empty/></R>");
}

// Counts the lines that say that a list was released.
void CountReleased(void* count, corekit::LogKind, const wchar_t*, const wchar_t* line) {
  *static_cast<int*>(count) += std::wstring(line) == L"xml file list deinitialization successful.";
}

TEST_F(Objects, ReleaseTheListWhateverHappens) {
  int released = 0;
  corekit::SetLogSink(&CountReleased, &released);
  EXPECT_NE(Thrown([&] { Open("<R>"); }), "0");
  EXPECT_NE(Thrown([&] { Open("<R/>", "Q"); }), "0");
  EXPECT_EQ(released, 2);
  {
    Document first = Open("<R/>"), second = std::move(first);
    first = Open("<R/>");
    first = std::move(second);
    EXPECT_EQ(released, 3);
  }
  EXPECT_EQ(released, 4);
  corekit::SetLogSink(nullptr, nullptr);
}

} // namespace
