#include <gtest/gtest.h>

#include "support/open_document.h"

namespace {

std::string Catalog(const std::string& files) {
  return "<Catalog><ProductPackage><Other/><LangPackage><FileList>" + files +
         "</FileList></LangPackage><LangPackage><FileList><FileItem><Name>never</Name><Hash>0</Hash></FileItem></"
         "FileList>"
         "</LangPackage></ProductPackage></Catalog>";
}

TEST(GetFileList, AppendsWhatItReads) {
  const std::string one = "<FileItem><Name>a</Name><Hash>1</Hash></FileItem>";
  const std::string two = "<FileItem><Hash>2</Hash><Name>b</Name></FileItem>";
  const struct {
    std::string files;
    std::uint32_t code;
    std::string entries;
  } cases[] = {{one + two + one, 0, "old=,a=1,b=2,a=1,"},
               {one + "<FileItem><Name>b</Name></FileItem>" + one, 3, "old=,a=1,"},
               {one + "<Other/>" + "<FileItem><Hash>2</Hash></FileItem>", 3, "old=,a=1,"},
               {"<FileItem><Name/><Hash/></FileItem>", 0, "old=,=,"},
               {"<FileItem/>", 3, "old=,"},
               {"", 3, "old=,"},
               {"<FileItem><Name>" + std::string(300, 'n') + "</Name><Hash>h</Hash></FileItem>", 0,
                "old=," + std::string(259, 'n') + "=h,"}};
  for (const auto& c : cases) {
    const TestDocument document(Catalog(c.files));
    for (int time = 0; time < 2; ++time) { // the second from the element map
      std::vector<FileListEntry> files{{"old", ""}};
      EXPECT_EQ(GetFileList(document.list, &document.cookie, &files), c.code);
      std::string entries;
      for (const FileListEntry& file : files) entries += file.Name + "=" + file.Hash + ",";
      EXPECT_EQ(entries, c.entries);
    }
  }
}

TEST(GetFileList, NeedsTheDocument) {
  const TestDocument document(Catalog(""));
  const std::uint32_t unknown = ~document.cookie;
  std::vector<FileListEntry> files;
  EXPECT_EQ(GetFileList(document.list, &unknown, &files), 3U);
  EXPECT_TRUE(files.empty());
}

TEST(MatchXmlListToFileName, ComparesTheLastComponent) {
  const TempFolder folder;
  const struct {
    const char* opened;
    const char* asked;
    std::uint32_t matches;
  } cases[] = {{"Catalog.xml", "Catalog.xml", 1},
               {"Catalog.xml", "catalog.XML", 1},
               {"Catalog.xml", "/Catalog.xml", 0},
               {"Catalog.xml", "", 0},
               {"Catalog.xml", "Catalog.xm", 0},
               {"b\\c.xml", "b\\c.xml", 1},
               {"b\\c.xml", "c.xml", 0}};
  XmlFileList* list = nullptr;
  ASSERT_EQ(InitXMLList(&list), 0U);
  for (const auto& c : cases) {
    std::uint32_t cookie = 0;
    ASSERT_EQ(OpenXML(list, folder.Write(c.opened, "<a/>").c_str(), 4, 0, &cookie), 0U);
    std::uint32_t matches = 7;
    EXPECT_EQ(MatchXmlListToFileName(list, cookie, c.asked, &matches), 0U);
    EXPECT_EQ(matches, c.matches) << c.opened << " " << c.asked;
    EXPECT_EQ(MatchXmlListToFileName(list, cookie, c.asked, nullptr), 17U);
    EXPECT_EQ(MatchXmlListToFileName(list, cookie, nullptr, &matches), 17U);
    matches = 7;
    EXPECT_EQ(MatchXmlListToFileName(list, ~cookie, c.asked, &matches), 3U);
    EXPECT_EQ(MatchXmlListToFileName(list, ~cookie, c.asked, nullptr), 3U);
    EXPECT_EQ(matches, 7U);
  }

  // Without a "/" in the name the last backslash counts.
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  std::uint32_t cookie = 0;
  std::uint32_t matches = 0;
  ASSERT_EQ(OpenXML(list, "b\\c.xml", 4, 0, &cookie), 0U);
  std::filesystem::current_path(before);
  EXPECT_EQ(MatchXmlListToFileName(list, cookie, "C.xml", &matches), 0U);
  EXPECT_EQ(matches, 1U);
  EndXMLList(&list);
}

} // namespace
