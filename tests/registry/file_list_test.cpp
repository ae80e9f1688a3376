#include "registry/file_list.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/log_lines.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

namespace {

XmlFileRecord* MakeRecord(const char* name, std::uint32_t cookie) {
  auto* const record = static_cast<XmlFileRecord*>(std::calloc(1, sizeof(XmlFileRecord)));
  std::strcpy(record->fileName, name);
  record->cookie = cookie;
  return record;
}

// The names in the list, read forwards and checked backwards.
std::string Names(const XmlFileList& list) {
  std::string forwards;
  std::string backwards;
  std::uint32_t count = 0;
  for (const XmlFileRecord* it = list.head; it != nullptr; it = it->next, ++count) forwards += it->fileName;
  for (const XmlFileRecord* it = list.tail; it != nullptr; it = it->prev) backwards.insert(0, it->fileName);
  EXPECT_EQ(forwards, backwards);
  EXPECT_EQ(count, list.count);
  EXPECT_EQ(count == 0, list.head == nullptr && list.tail == nullptr);
  return forwards;
}

class FileList : public testing::Test {
 protected:
  FileList() {
    EXPECT_EQ(XmlSuccess, InitXMLList(&list));
    for (const auto& [name, cookie] : {std::pair{"a", 7u}, {"b", 8u}, {"c", 7u}, {"D.xml", 4000000000u}}) {
      EXPECT_EQ(1, AppendXmlFile(list, MakeRecord(name, cookie)));
    }
    log.Clear();
  }
  ~FileList() override { EXPECT_EQ(XmlSuccess, EndXMLList(&list)); }

  LogLines log;
  XmlFileList* list = nullptr;
};

} // namespace

TEST_F(FileList, StaysLinkedWhateverLeaves) {
  EXPECT_EQ("abcD.xml", Names(*list));
  EXPECT_EQ(nullptr, RemoveXmlFileAt(list, 4));
  EXPECT_STREQ("D.xml", XmlFileAt(list, 3)->fileName);
  const struct {
    std::uint32_t index;
    const char* removed;
    const char* left;
  } steps[] = {{1, "b", "acD.xml"}, {2, "D.xml", "ac"}, {0, "a", "c"}, {0, "c", ""}};
  for (const auto& step : steps) {
    XmlFileRecord* const record = RemoveXmlFileAt(list, step.index);
    EXPECT_STREQ(step.removed, record->fileName);
    EXPECT_EQ(step.left, Names(*list));
    std::free(record);
  }
  EXPECT_EQ(nullptr, PopFirstXmlFile(list));
}

TEST_F(FileList, FindsByCookieAndByName) {
  const struct {
    const char* name;
    std::uint32_t cookie;
    int index; // -1: not found
    std::string line;
  } cases[] = {
      {nullptr, 7, 0, "Found a (7) in the xml file list."}, // of two with one cookie, the older
      {nullptr, 4000000000u, 3, "Found D.xml (4000000000) in the xml file list."},
      {nullptr, 0, -1, "Failed to find 0 (cookie) in the xml file list."},
      {"d.XML", 1, 3, "Found D.xml (4000000000) in the xml file list."},
      {"D.xm", 1, -1, "Failed to find D.xm in the xml file list."},
  };
  for (const auto& it : cases) {
    std::uint32_t cookie = it.cookie;
    std::uint32_t index = 99;
    const XmlFileRecord* const record = FindXmlFile(list, it.name, &cookie, &index);
    EXPECT_EQ(it.index < 0, record == nullptr);
    EXPECT_EQ(it.index < 0 ? 99u : static_cast<std::uint32_t>(it.index), index);
    EXPECT_EQ(record == nullptr ? it.cookie : record->cookie, cookie);
    EXPECT_EQ(Lines{it.line}, log.Take());
  }
}

TEST_F(FileList, TakesNoListForAnAnswer) {
  std::uint32_t cookie = 5;
  EXPECT_EQ(nullptr, FindXmlFile(nullptr, nullptr, &cookie, nullptr));
  EXPECT_EQ(nullptr, FindXmlFile(nullptr, "n", &cookie, nullptr));
  EXPECT_EQ((Lines{"Failed to find 5 (cookie): xml file list pointer is NULL.",
                   "Failed to find n:  xml file list pointer is NULL."}),
            log.Take());
  EXPECT_EQ(0, AppendXmlFile(nullptr, nullptr));
  EXPECT_EQ(0, AppendXmlFile(list, nullptr));
  EXPECT_EQ(0u, CountXmlFiles(nullptr));
  EXPECT_EQ(nullptr, XmlFileAt(nullptr, 0));
  EXPECT_EQ(nullptr, RemoveXmlFileAt(nullptr, 0));
  EXPECT_EQ(nullptr, PopFirstXmlFile(nullptr));
}

TEST(ListHandle, IsMadeAndEnded) {
  LogLines log;
  XmlFileList* list = nullptr;
  EXPECT_EQ(XmlInvalidArgument, InitXMLList(nullptr));
  EXPECT_EQ(XmlSuccess, InitXMLList(&list));
  EXPECT_EQ(XmlSuccess, EndXMLList(&list));
  EXPECT_EQ(nullptr, list);
  EXPECT_EQ(XmlSuccess, EndXMLList(&list));
  EXPECT_EQ(XmlSuccess, EndXMLList(nullptr));
  EXPECT_EQ((Lines{"Failed to initialize the xml file list:  NULL file list pointer.",
                   "xml file list initialization successful.", "xml file list deinitialization successful.",
                   "xml file list deinitialization successful.",
                   "xml file list deinitialization successful:  NULL file list pointer.",
                   "xml file list deinitialization successful."}),
            log.Take());
  EXPECT_EQ((Lines{">InitXMLList", "<InitXMLList", ">InitXMLList", "<InitXMLList", ">EndXMLList", "<EndXMLList",
                   ">EndXMLList", "<EndXMLList", ">EndXMLList", "<EndXMLList"}),
            log.TakeTraces());
}
