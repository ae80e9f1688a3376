#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "registry/file_list.h"
#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

namespace {

class Groups : public testing::Test {
 protected:
  Groups() {
    name = folder.Write("c.xml",
                        "<Catalog><P id='1'><L id='2'/><L id='3'><S id='4' Name='E'/></L></P><P id='5'><L id='6'/></P>"
                        "<Item id='7'/><Item1 id='8'/><Item id='9'/></Catalog>");
    InitXMLList(&list);
    OpenXML(list, name.c_str(), 4, 0, &cookie);
    log.Clear();
  }
  ~Groups() override { EndXMLList(&list); }

  // The code and what the buffer then holds: "0 P2".
  std::string Open(const std::string& parent, const std::string& path, std::uint32_t occurrence,
                   std::uint32_t capacity = 400) {
    std::vector<char> buffer(1000, '#');
    std::memcpy(buffer.data(), parent.c_str(), parent.size() + 1);
    const std::uint32_t code = EnumXMLGroup(list, cookie, path.c_str(), occurrence, buffer.data(), capacity);
    return std::to_string(code) + " " + buffer.data();
  }
  // The identity of the element under a key.
  std::string Element(const std::string& key) {
    const Ostrum::Element* const element = FindInElementMap(*XmlFileAt(list, 0)->elementMap, key);
    const std::wstring id = element == nullptr ? L"none" : element->GetAttribute(L"id").GetValue();
    return {id.begin(), id.end()};
  }

  TempFolder folder;
  LogLines log;
  std::string name;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
};

} // namespace

TEST_F(Groups, AreOpenedBelowOneAnother) {
  const struct {
    std::string parent, path;
    std::uint32_t occurrence;
    std::string answer, element;
  } steps[] = {
      {"", "Catalog\\P", 1, "0 P", "1"},
      {"", "P", 2, "0 P2", "5"},
      {"", "P", 3, "3 Not Found", "none"},
      {"P2", "L", 1, "0 P2\\L", "6"},
      {"P", "Catalog\\L", 2, "0 P\\L2", "3"}, // the root goes, below a parent too
      {"P9", "L", 1, "3 Not Found", "none"},
      {"Catalog", "P", 2, "0 Catalog\\P2", "5"},
      {"", "P\\L\\S", 1, "3 Not Found", "none"},
      {"P\\L2", "S&Name=E", 3, "0 P\\L2\\S&Name=E3", "4"}, // the first that passes, whatever the number
      {"P\\L2", "S&Name=E", 4294967295u, "0 P\\L2\\S&Name=E-1", "4"},
      {"", "Item", 0, "3 Not Found", "none"},
      {"", "Item1", 1, "0 Item1", "8"},
      {"", "Item1", 0, "0 Item1", "8"},
      {"", "Item", 12, "3 Not Found", "none"},
      {"", "Item", 2, "0 Item2", "8"}, // Item1 counts, by prefix
      {"", "Catalog", 1, "0 Catalog", ""},
      {"P", "Catalog\\", 1, "0 Catalog\\", "none"},
      {"P", "", 1, "0 ", "none"},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.parent + " : " + step.path + " " + std::to_string(step.occurrence));
    EXPECT_EQ(step.answer, Open(step.parent, step.path, step.occurrence));
    EXPECT_EQ(step.element, Element(step.answer.substr(2)));
  }
  char groupId[20] = "";
  EXPECT_EQ(XmlSuccess, OpenXMLGroup(list, cookie, "P", groupId, sizeof groupId));
  EXPECT_STREQ("P", groupId);
}

TEST_F(Groups, ShareIdsThatReadAlike) {
  ASSERT_EQ("0 Item3", Open("", "Item", 3));
  EXPECT_EQ("0 Item3", Open("", "Item3", 1)); // no element is named so: the map answers
}

TEST_F(Groups, LogWhatTheyDid) {
  const std::string found = "Found " + name + " (" + std::to_string(cookie) + ") in the xml file list.";
  const struct {
    std::string parent, path;
    std::uint32_t capacity;
    Lines lines; // behind the one of the list
  } steps[] = {
      {"",
       "Catalog\\P",
       9,
       {"Catalog\\P is a group", "Removed Catalog from Catalog\\P.", "P2 (element) not found in the element map.",
        "Inserted P2 into the element map."}},
      {"", "P", 9, {"P is a group ID", "Found P2 in " + name + "."}},
      {"", "P", 0, {"P is a group ID"}},
      {"P2", "L", 9, {"L is a group ID", "L not found in the element map.", "L not found in " + name + "."}},
      {"Q", "L", 9, {"L is a group ID", "Q not found in " + name + "."}},
      {"",
       "Catalog",
       9,
       {"Catalog is a group", "Removed Catalog from Catalog.", "Only the root was given as a group path."}},
  };
  for (const auto& step : steps) {
    Open(step.parent, step.path, 2, step.capacity);
    Lines expected = step.lines;
    expected.insert(expected.begin(), found);
    EXPECT_EQ(expected, log.Take());
  }
  log.Clear();
  Open("", "P", 1);
  EXPECT_EQ(
      (Lines{">EnumXMLGroup", ">GenericOpenGroup", ">FindXmlFile", "<FindXmlFile", ">IsRootInPath", "<IsRootInPath",
             ">ReturnTokenFromString", "<ReturnTokenFromString", "<GenericOpenGroup", "<EnumXMLGroup"}),
      log.TakeTraces());
}

TEST_F(Groups, WriteWithinTheCapacity) {
  EXPECT_EQ("0 P", Open("", "P", 2, 2));
  EXPECT_EQ("5", Element("P2"));
  EXPECT_EQ("0 ", Open("", "P", 2, 1));
  EXPECT_EQ("0 P2", Open("P2", "L", 1, 0)); // nothing is written, but the group is open
  EXPECT_EQ("6", Element("P2\\L"));
  EXPECT_EQ("3 Not", Open("", "Q", 1, 4));
  EXPECT_EQ("0 Cata", Open("", "Catalog", 1, 5));
}

TEST_F(Groups, CutIdsAt259Bytes) {
  for (const std::size_t length : {258u, 259u, 260u, 500u}) {
    const std::string path = "P&id=" + std::string(length - 5, '1');
    EXPECT_EQ("3 Not Found", Open("", path, 2));
    EXPECT_EQ(path.substr(0, 259) + " not found in " + name + ".", log.Take().back());
  }
  // The first L is a leaf, which stands for itself below itself: IDs of odd and of even lengths up to the limit.
  for (const std::uint32_t occurrence : {1u, 2u}) {
    std::string id = Open("", "P", occurrence).substr(2);
    while (id.size() < 259) {
      const std::string below = (id + "\\L").substr(0, 259);
      ASSERT_EQ("0 " + below, Open(id, "L", 1));
      id = below;
    }
    EXPECT_EQ("0 " + id, Open(id, "L", 1)); // nothing more fits, so the ID is the parent's
  }
}

TEST_F(Groups, AnswerForAnUnknownDocumentWithoutTouchingTheBuffer) {
  char groupId[] = "P";
  EXPECT_EQ(XmlNotFound, OpenXMLGroup(list, cookie + 1, "L", groupId, sizeof groupId));
  EXPECT_EQ(XmlNotFound, OpenXMLGroup(nullptr, cookie, "L", groupId, sizeof groupId));
  EXPECT_STREQ("P", groupId);
  log.Clear();
  EXPECT_EQ(XmlFailure, OpenXMLGroup(list, cookie, nullptr, groupId, sizeof groupId));
  EXPECT_EQ(XmlFailure, OpenXMLGroup(list, cookie, "L", nullptr, 0));
  EXPECT_EQ("Unknown exception thrown while searching for the group name.", log.Take().back());
}
