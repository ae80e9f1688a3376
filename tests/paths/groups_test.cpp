#include <gtest/gtest.h>

#include "registry/record.h"
#include "support/log_lines.h"
#include "support/open_document.h"

using Lines = std::vector<std::string>;

std::string Missing(const std::string& path) { return path + " not found in the element map."; }
std::string Selected(const std::string& part) { return Missing(part + " (element)"); }
std::string Entered(const std::string& part) {
  return "Found " + part + " (element) in the element map.";
}
std::string Filtered(const std::string& value) {
  return "Found " + value + " (attribute) in the element map.";
}
std::string Inserted(const std::string& id) { return "Inserted " + id + " into the element map."; }
std::string Removed(const std::string& path) { return "Removed Catalog from " + path + "."; }

class Groups : public testing::Test {
 protected:
  // The code and the buffer's text, for example "0 P2".
  std::string Open(const std::string& parent, const std::string& path, std::uint32_t occurrence,
                   std::uint32_t capacity = 400) {
    std::string buffer = parent + '\0' + std::string(1000, '#');
    const auto code = EnumXMLGroup(list, cookie, path.c_str(), occurrence, buffer.data(), capacity);
    return std::to_string(code) + " " + buffer.c_str();
  }
  // The attribute "id" of the element under a key.
  std::string Element(const std::string& key) {
    const Ostrum::Element element = list->files.front().elementMap->Find(key);
    return element.IsNull() ? "none" : element.GetAttribute("id").GetValue();
  }

  std::string Known(const std::string& id) const {
    return "Found " + id + " in " + document.Name() + ".";
  }
  std::string NotIn(const std::string& path) const {
    return path + " not found in " + document.Name() + ".";
  }

  TestDocument document{
      "<Catalog>text<P id='1'><L id='2'/><L id='3'><S id='4' Name='E'/></L></P><!-- c --><P "
      "id='5'><L id='6'/></P>"
      "<Item id='7'/><Item1 id='8'/><Item id='9'/><S id='10'/><S id='11' Name='EngineFileOld'><T "
      "id='12'/></S>"
      "<S id='13' Name='EngineFile' b='x=y'/></Catalog>"};
  XmlFileList* const& list = document.list;
  const std::uint32_t& cookie = document.cookie;
  LogLines log;
};

TEST_F(Groups, AreOpenedBelowOneAnother) {
  const std::string emptyToken = "Source token is NULL or empty";
  const std::string onlyRoot = "Only the root was given as a group path.";
  const struct {
    std::string parent, path;
    std::uint32_t occurrence;
    std::string answer, element;
    Lines lines; // after the lines about the list and the path's root
    std::uint32_t capacity = 400;
  } steps[] = {
      // The root's name is removed, also below a parent, with everything up to the separator.
      {"", "Catalog\\P", 1, "0 P", "1", {Removed("Catalog\\P"), Selected("P"), Inserted("P")}},
      {"", "CatalogX\\P", 1, "0 P", "1", {"Removed CatalogX from CatalogX\\P.", Known("P")}},
      {"P",
       "Catalog\\L",
       2,
       "0 P\\L2",
       "3",
       {Removed("Catalog\\L"), Selected("L2"), Inserted("P\\L2")}},
      {"", "catalog\\P", 1, "3 Not Found", "none", {Missing("catalog\\P"), NotIn("catalog\\P")}},
      {"", "Catalog", 1, "0 Catalog", "", {Removed("Catalog"), onlyRoot}},
      {"P", "Catalog\\", 1, "0 Catalog\\", "none", {Removed("Catalog\\"), onlyRoot}},
      {"P", "", 1, "0 ", "none", {onlyRoot}},
      // Elements are counted by prefix, whether those of one name are adjacent or not.
      {"", "P", 2, "0 P2", "5", {Selected("P2"), Inserted("P2")}},
      {"", "P", 3, "3 Not Found", "none", {Missing("P"), NotIn("P")}},
      {"", "Item", 0, "3 Not Found", "none", {Missing("Item"), NotIn("Item")}},
      {"", "Item", 2, "0 Item2", "8", {Selected("Item2"), Inserted("Item2")}},
      {"", "Item", 3, "0 Item3", "9", {Selected("Item3"), Inserted("Item3")}},
      {"", "Item3", 1, "0 Item3", "9", {Known("Item3")}}, // no element has this name
      {"", "\\", 1, "0 \\", "2", {Entered(""), emptyToken, Selected(""), Inserted("\\")}},
      // Only children of the first match are searched. A leaf matches itself.
      {"P2", "L", 1, "0 P2\\L", "6", {Selected("L"), Inserted("P2\\L")}},
      {"P9", "L", 1, "3 Not Found", "none", {NotIn("P9")}},
      {"", "P\\L\\S", 1, "3 Not Found", "none", {Entered("P"), Entered("L"), NotIn("P\\L\\S")}},
      {"", "P\\L", 1, "0 P\\L", "2", {Entered("P"), Selected("L"), Inserted("P\\L")}},
      {"", "P\\L\\L", 7, "0 P\\L\\L7", "2", {Entered("P"), Entered("L"), Inserted("P\\L\\L7")}},
      {"P", "P\\L", 1, "3 Not Found", "none", {Missing("P\\L"), NotIn("P\\L")}},
      {"", "P\\L", 3, "3 Not Found", "none", {Entered("P"), Missing("L"), NotIn("P\\L")}},
      {"", "P\\X\\Y", 1, "3 Not Found", "none", {Entered("P"), Missing("X\\Y"), NotIn("P\\X\\Y")}},
      // An attribute filter selects the first match, whatever the number.
      {"P\\L2",
       "S&Name=E",
       3,
       "0 P\\L2\\S&Name=E3",
       "4",
       {Filtered("E"), Inserted("P\\L2\\S&Name=E3")}},
      {"", "S&Name=", 4294967295U, "0 S&Name=-1", "11", {Filtered(""), Inserted("S&Name=-1")}},
      {"",
       "S&Name=E\\T",
       1,
       "0 S&Name=E\\T",
       "12",
       {Filtered("E"), Selected("T"), Inserted("S&Name=E\\T")}},
      {"", "S&Name", 3, "0 S&Name3", "13", {Selected("S3"), Inserted("S&Name3")}},
      {"", "&b=x=y", 1, "0 &b=x=y", "13", {Filtered("x=y"), Inserted("&b=x=y")}},
      {"", "S&Name=e", 1, "3 Not Found", "none", {Missing("S&Name=e"), NotIn("S&Name=e")}},
      // Answers are cut to the capacity. With none, nothing is written, but the group is open.
      {"", "P", 2, "0 ", "none", {Known("P2")}, 1},
      {"P2", "L&id=6", 1, "0 P2", "5", {Filtered("6")}, 0},
      {"P2", "L&id=6", 1, "0 P2\\L&id=6", "6", {Known("P2\\L&id=6")}},
  };
  for (const bool isLogged :
       {true, false}) { // without log lines, a search may start where the last one ended
    if (!isLogged) corekit::SetLogSink(nullptr, nullptr);
    document.Reopen();
    log.Take();
    for (const auto& step : steps) {
      SCOPED_TRACE(testing::Message()
                   << step.parent << " : " << step.path << ' ' << step.occurrence << isLogged);
      EXPECT_EQ(Open(step.parent, step.path, step.occurrence, step.capacity), step.answer);
      EXPECT_EQ(Element(step.answer.substr(2)), step.element);
      Lines lines = log.Take();
      if (!isLogged) continue;
      EXPECT_EQ(lines.at(1),
                step.path + (step.path.starts_with("Catalog") ? " is a group" : " is a group ID"));
      EXPECT_EQ(Lines(lines.begin() + 2, lines.end()), step.lines);
    }
  }
}

TEST_F(Groups, CutPathsAndIdsAt259Bytes) {
  for (const std::size_t length : {258U, 259U, 260U, 500U}) {
    const std::string path = "P&id=" + std::string(length - 5, '1');
    EXPECT_EQ(Open("", "Catalog\\" + path, 2), "3 Not Found");
    EXPECT_EQ(log.Take().back(), NotIn(path.substr(0, 259)));
  }
  EXPECT_EQ(Open("", "Catalog" + std::string(600, 'X') + "\\P", 1), "0 P");
  // The first L is a leaf, which matches itself, so IDs can grow up to the limit, of odd and even
  // lengths.
  for (std::string id : {Open("", "P", 1).substr(2), Open("", "P", 2).substr(2)}) {
    for (std::string below; id.size() < 259; id = below) {
      below = (id + "\\L").substr(0, 259);
      ASSERT_EQ(Open(id, "L", 1), "0 " + below);
    }
    EXPECT_EQ(Open(id, "L", 1), "0 " + id); // nothing more fits, so the ID is the parent's
  }
}

TEST_F(Groups, AnswerForAnUnknownDocumentWithoutTouchingTheBuffer) {
  char groupId[] = "P";
  EXPECT_EQ(OpenXMLGroup(list, cookie + 1, "L", groupId, sizeof groupId), XmlNotFound);
  EXPECT_EQ(OpenXMLGroup(nullptr, cookie, "L", groupId, sizeof groupId), XmlNotFound);
  EXPECT_EQ(GetXMLItem(list, cookie + 1, "P", "L", "ELEMENT", nullptr, nullptr, groupId, 2),
            XmlNotFound);
  EXPECT_STREQ(groupId, "P");
  EXPECT_EQ(OpenXMLGroup(list, cookie, nullptr, groupId, sizeof groupId), XmlFailure);
  EXPECT_EQ(log.Take().back(), "Unknown exception thrown while searching for the group name.");
  EXPECT_EQ(OpenXMLGroup(list, cookie, "L", nullptr, 0), XmlFailure);
  log.TakeTraces();
  groupId[0] = '\0';
  EXPECT_EQ(OpenXMLGroup(list, cookie, "P", groupId, sizeof groupId), XmlSuccess);
  EXPECT_EQ(log.TakeTraces(),
            (Lines{">OpenXMLGroup", ">GenericOpenGroup", ">FindXmlFile", "<FindXmlFile",
                   ">IsRootInPath", "<IsRootInPath", ">ReturnTokenFromString",
                   "<ReturnTokenFromString", "<GenericOpenGroup", "<OpenXMLGroup"}));
}
