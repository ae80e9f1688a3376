#include <gtest/gtest.h>

#include <cstring>

#include "registry/file_list.h"
#include "support/open_document.h"

TEST(GetFileList, AppendsWhatItReads) {
  const std::string one = "<FileItem><Name>a</Name><Hash>1</Hash></FileItem>";
  const std::string two = "<FileItem><Hash>2</Hash><Name>b</Name></FileItem>";
  const struct {
    std::string files;
    std::uint32_t code;
    std::string entries;
  } cases[] = {{one + two + one, 0, "old=,a=1,b=2,a=1,"},
               {one + "<FileItem><Name>b</Name></FileItem>" + one, 3, "old=,a=1,"},
               {one + "<Other/><FileItem><Hash>2</Hash></FileItem>", 3, "old=,a=1,"},
               {"<FileItem><Name/><Hash/></FileItem>", 0, "old=,=,"},
               {"", 3, "old=,"},
               {"<FileItem><Name>" + std::string(300, 'n') + "</Name><Hash>h</Hash></FileItem>", 0,
                "old=," + std::string(259, 'n') + "=h,"}};
  for (const auto& c : cases) {
    const TestDocument document("<Catalog><ProductPackage><Other/><LangPackage><FileList>" + c.files +
                                "</FileList></LangPackage><LangPackage><FileList>" + two +
                                "</FileList></LangPackage></ProductPackage></Catalog>");
    std::vector<FileListEntry> files{{"old", ""}};
    EXPECT_EQ(GetFileList(document.list, &document.cookie, &files), c.code);
    std::string entries;
    for (const FileListEntry& file : files) entries += file.Name + "=" + file.Hash + ",";
    EXPECT_EQ(entries, c.entries);
  }
}

TEST(MatchXmlListToFileName, ComparesTheLastComponent) {
  const struct {
    const char *opened, *asked;
    std::uint32_t matches;
  } cases[] = {{"a/Catalog.xml", "Catalog.xml", 1},
               {"a/Catalog.xml", "catalog.XML", 1},
               {"a/Catalog.xml", "/Catalog.xml", 0},
               {"a/Catalog.xml", "Catalog.xm", 0},
               {"a/b\\c.xml", "b\\c.xml", 1},
               {"a/b\\c.xml", "c.xml", 0},
               {"b\\c.xml", "C.xml", 1},
               {"c.xml", "c.xml", 1}}; // the backslash counts where no "/" is
  const TestDocument document("<a/>");
  for (const auto& c : cases) {
    std::strcpy(XmlFileAt(document.list, 0)->fileName, c.opened);
    std::uint32_t matches = 7;
    EXPECT_EQ(MatchXmlListToFileName(document.list, ~document.cookie, c.asked, nullptr), 3U);
    EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, c.asked, nullptr), 17U);
    EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, nullptr, &matches), 17U);
    EXPECT_EQ(matches, 7U);
    EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, c.asked, &matches), 0U);
    EXPECT_EQ(matches, c.matches) << c.opened << " " << c.asked;
  }
}
