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

namespace {

using tarvik::Document;
using tarvik::Error;
using tarvik::Group;
using Texts = std::vector<std::string>;

static_assert(std::is_nothrow_move_constructible_v<Document> &&
              !std::is_copy_constructible_v<Document>);

class Objects : public testing::Test {
 protected:
  Document Open(const std::string& text, const std::string& root) const {
    return {folder.Write("file.xml", text), root};
  }
  std::string Bytes() const { return folder.Read("file.xml"); }

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

Texts Ids(const Group& group, const std::string& path) {
  Texts ids;
  for (const Group& found : group.Groups(path)) ids.push_back(found.Id());
  return ids;
}

TEST_F(Objects, ReadValuesWholeAndAtOnce) {
  const auto begin = std::chrono::steady_clock::now();
  for (const std::size_t size : {0U, 1U, 510U, 511U, 512U, 2047U, 70'000U}) {
    const std::string value(size, 'v');
    const Document document =
        Open("<R><a b='" + value + "'>" + value + "</a><a>" + value + "</a></R>", "R");
    EXPECT_EQ(document.Get("a"), value);
    EXPECT_EQ(document.Get("a", "b"), value);
    EXPECT_EQ(Texts{*++document.Items("a").begin()}, Texts{value});
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5)); // of seven waits
}

template <class T>
std::string ReadAs(const Document& document, const std::string& text) {
  std::string read;
  const std::string thrown = Thrown([&] {
    const std::optional<T> value = document.OpenGroup(text)->template Get<T>("v");
    read = value ? std::to_string(*value) : "nothing";
  });
  return thrown == "0" ? read : thrown;
}

TEST_F(Objects, ReadNumbersAndBoolWholeOrNotAtAll) {
  const Document document = Open(
      "<R><int><v>-42</v></int><big><v>256</v></big><part><v>12 </v></part><empty><v/></empty>"
      "<real><v>2.5e3</v></real><yes><v>true</v></yes><no><v>0</v></no><one><v>1</v></one><none/></"
      "R>",
      "R");
  const auto refused = [](const std::string& group, const std::string& value) {
    return "34 " + group + "\\v = \"" + value + "\": not a value of the type asked for";
  };
  const std::pair<std::string, std::string> rows[] = {
      {ReadAs<int>(document, "int"), "-42"},
      {ReadAs<unsigned>(document, "int"), refused("int", "-42")},
      {ReadAs<std::uint8_t>(document, "big"), refused("big", "256")},
      {ReadAs<std::uint16_t>(document, "big"), "256"},
      {ReadAs<int>(document, "part"), refused("part", "12 ")},
      {ReadAs<int>(document, "empty"), refused("empty", "")},
      {ReadAs<int>(document, "real"), refused("real", "2.5e3")},
      {ReadAs<double>(document, "real"), "2500.000000"},
      {ReadAs<bool>(document, "yes") + ReadAs<bool>(document, "one"), "11"},
      {ReadAs<bool>(document, "no"), "0"},
      {ReadAs<bool>(document, "int"), refused("int", "-42")},
      {ReadAs<long>(document, "none"), "nothing"}};
  for (const auto& [read, expected] : rows) EXPECT_EQ(read, expected);
}

TEST_F(Objects, OpenOnlyWithTheRootsExactName) {
  const std::string text = "<Site><SiteList><v>1</v></SiteList></Site>";
  for (const char* name : {"Sit", "S", "", "Sites", "SiteList", "Site\\", "Site\\SiteList", "site",
                           "Not Found", "Site&a=b"}) {
    EXPECT_EQ(Thrown([&] { Open(text, name); }).substr(0, 2), "3 ") << name;
    EXPECT_EQ(Thrown([&] { Open("<Site/>", name); }).substr(0, 2), "3 ") << name << ", no child";
  }
  EXPECT_EQ(Open(text, "Site").Root().Id(), "Site");
  EXPECT_EQ(Open("<R/>", "R").Root().Id(), "R");
  corekit::SetUtf8(true);
  EXPECT_EQ(Open("<\u00e9/>", "\u00e9").Root().Id(), "\u00e9");
  corekit::SetUtf8(false);
}

TEST_F(Objects, NameTheFileOrItemThatFailed) {
  const std::string file = folder.Name("file.xml"), zero("a\0b", 3), longPath(250, 'g');
  EXPECT_EQ(Thrown([&] { Document(file, "R"); }), "5 " + file + ": no such file");
  Document document = Open("<R><g><a>1</a></g></R>", "R");
  const std::pair<std::string, std::string> rows[] = {
      {Thrown([&] { document.Get(zero); }), "34 "},
      {Thrown([&] { document.Get("g", zero); }), "34 "},
      {Thrown([&] { document.OpenGroup(zero); }), "34 "},
      {Thrown([&] { document.Set("g", "a", zero); }), "34 "},
      {Thrown([&] { document.OpenGroup(longPath); }),
       "34 R\\" + longPath + ": the path is too long"},
      {Thrown([&] { document.OpenGroup(std::string(240, 'g')); }), "0"},
      {Thrown([&] { document.Set("g", "no name", 1); }),
       "34 R\\g\\no name: refused or failed (the log gives the reason)"},
      {Thrown([&] { Document(file, "R", true); }), "43 " + file},
      {Thrown([&] { Document(folder.Path().string(), "R"); }), "42 "},
      {Thrown([&] { Document(file + std::string("\0x", 2), "R"); }), "34 "},
      {Thrown([&] { Open("<R>", "R"); }), "1 " + file + ": not well-formed XML, or out of memory"}};
  for (const auto& [thrown, begin] : rows) EXPECT_EQ(thrown.substr(0, begin.size()), begin);
}

TEST_F(Objects, FindNothingTwiceAndNothingElse) {
  std::string items;
  for (int i = 1; i <= 12; ++i) items += "<Item><n>" + std::to_string(i) + "</n></Item>";
  const Document document = Open("<R>" + items +
                                     "<Item1><n>a</n></Item1><Item1><n>b</n></Item1>"
                                     "<Set k='1'/><Set k='12'/><Set k='1&amp;2'/><Empty/></R>",
                                 "R");
  Texts numbers;
  for (const char* path : {"Item1", "Item", "Item12", "R\\Item1"}) {
    for (const Group& item : document.Groups(path)) numbers.push_back(*item.Get("n"));
  }
  EXPECT_EQ(numbers, (Texts{"a", "b", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12",
                            "a", "b", "a", "b"}));
  EXPECT_EQ(Ids(document.Root(), "Set"), (Texts{"Set", "Set&2", "Set&3"}));
  EXPECT_EQ(Ids(document.Root(), "Set&k=1"), Texts{"Set&k=1"});
  EXPECT_EQ(Ids(document.Root(), "Set&k=3"), Texts{});
  EXPECT_EQ(Ids(document.Root(), "none"), Texts{});
  EXPECT_EQ(Ids(document.Root(), "").size() + Ids(document.Root(), "R").size(), 2U); // itself
  const Group empty = document.OpenGroup("Empty").value();
  EXPECT_EQ(Ids(empty, "Emp"), Texts{}); // the functions give the element itself for every number
  EXPECT_FALSE(empty.OpenGroup("Emp"));
  EXPECT_FALSE(Open("<Root/>", "Root").OpenGroup("Ro"));
  EXPECT_FALSE(document.Get("Ite"));
  EXPECT_FALSE(document.Get("Set", "none"));
  EXPECT_EQ(document.Get("Set", "k"), "1");
  EXPECT_EQ(document.OpenGroup("Set&k=12")->Get("Set", "k"), "12"); // its own attribute
}

TEST_F(Objects, TakeNoNameForTheRoots) {
  Document document =
      Open("<Site><SiteList><v>1</v><Site><v>2</v><Site><v>3</v></Site></Site></SiteList></Site>",
           "Site");
  const Group list = document.OpenGroup("SiteList").value();
  EXPECT_EQ(list.Get("v"), "1");
  EXPECT_EQ(list.OpenGroup("Site")->Get("v"), "2");
  EXPECT_EQ(list.OpenGroup("Site")->OpenGroup("Site")->Get("v"), "3");
  EXPECT_EQ(document.OpenGroup("Site\\SiteList\\Site")->Get("v"), "2");
  EXPECT_EQ(document.OpenGroup("Site")->Id(), "Site");
  document.Set("SiteList", "v", 4);
  EXPECT_EQ(document.OpenGroup("SiteList")->Get<int>("v"), 4);
  document.Set("Site\\SiteList\\Site", "v", 5);
  EXPECT_EQ(list.OpenGroup("Site")->Get<int>("v"), 5);
}

TEST_F(Objects, HoldWhatTheyNeed) {
  std::optional<Document> first(Open("<R><g><a>1</a><a>2</a></g><g><a>3</a></g></R>", "R"));
  const Group& root = first->Root();
  const auto groups = Group(root).Groups(std::string("g"));
  auto items = first->OpenGroup("g")->Items(std::string("a"));
  const Document second = std::move(*first);
  first.reset();
  Texts texts;
  for (const Group& group : groups) {
    for (const std::string& text : group.Items("a")) texts.push_back(text);
  }
  EXPECT_EQ(texts, (Texts{"1", "2", "3"}));
  EXPECT_EQ(Texts(items.begin(), items.end()), (Texts{"1", "2"}));
  EXPECT_EQ(std::count(items.begin(), items.end(), "2"), 1);
  auto it = items.begin();
  const std::string before = *it++;
  EXPECT_EQ(before + it->c_str(), "12");
  EXPECT_TRUE(++it == items.end() && it != items.begin());
  EXPECT_EQ(root.Get("a"), std::nullopt);
  EXPECT_EQ(root.OpenGroup("g")->Get("a"), "1");
}

template <class T>
void ExpectReadBack(Document& document, const T& value) {
  document.Set("New", "value", value);
  document.SetAttribute("New\\value", "also", value);
  const Group& root = document.Root();
  EXPECT_EQ(root.OpenGroup("New")->Get<T>("value"), value);
  EXPECT_EQ(root.OpenGroup("New")->Get<T>("value", "also"), value);
}

TEST_F(Objects, WriteWhatTheyReadBack) {
  Document document = Open("<R><Timeout>1</Timeout></R>", "R");
  ExpectReadBack(document, std::string("a<b"));
  ExpectReadBack(document, 0.1);
  ExpectReadBack(document, std::numeric_limits<double>::max());
  ExpectReadBack(document, std::numeric_limits<std::int64_t>::min());
  ExpectReadBack(document, 2024U);
  ExpectReadBack(document, true);
  const char* const pointer = "p";
  document.Set("New", "pointer", pointer);
  document.Set("New", "literal", "l");
  document.Set("R\\New", "view", std::string_view("whole", 2));
  document.Set("", "empty", "");
  document.SetAttribute("", "own", false);
  document.Set("", "Time", 2); // the first whose name begins so
  EXPECT_EQ(Bytes(),
            "<R own=\"false\"><Timeout>2</Timeout><New><value also=\"true\">true</value>"
            "<pointer>p</pointer><literal>l</literal><view>wh</view></New><empty/></R>");
}

TEST_F(Objects, RefuseWhatTheFunctionsWouldIgnoreOrMistake) {
  Document document = Open("<R><g/><g/></R>", "R");
  const std::string before = Bytes(), enumerated = Ids(document.Root(), "g").back();
  for (const std::string& thrown :
       {Thrown([&] { document.SetAttribute("g", "a", ""); }),
        Thrown([&] { document.SetAttribute("g", "", "v"); }),
        Thrown([&] { document.Set(enumerated, "a", "v"); }),
        Thrown([&] { document.Set(enumerated + "\\h", "a", "v"); }),
        Thrown([&] { document.SetAttribute("R\\" + enumerated, "a", "v"); })})
    EXPECT_EQ(thrown.substr(0, 3), "34 ");
  EXPECT_EQ(Bytes(), before);
  document.Set("g&a=b&1", "t", "v"); // an attribute's value
  EXPECT_EQ(document.Get("g", "a"), "b&1");
}

// Counts the lines that say that a list was released.
void CountReleased(void* count, corekit::LogKind, const wchar_t*, const wchar_t* line) {
  if (std::wstring(line) == L"xml file list deinitialization successful.")
    ++*static_cast<int*>(count);
}

TEST_F(Objects, ReleaseTheListWhateverHappens) {
  int released = 0;
  corekit::SetLogSink(&CountReleased, &released);
  EXPECT_NE(Thrown([&] { Open("<R>", "R"); }), "0");
  EXPECT_NE(Thrown([&] { Open("<R/>", "Q"); }), "0");
  EXPECT_EQ(released, 2);
  {
    Document first = Open("<R/>", "R");
    Document second = std::move(first);
    first = Open("<R/>", "R");
    first = std::move(second);
    EXPECT_EQ(released, 3);
  }
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_EQ(released, 4);
}

} // namespace
