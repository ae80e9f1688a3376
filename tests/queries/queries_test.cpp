#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <tuple>

#include "registry/record.h"
#include "support/open_document.h"

namespace {

using namespace std::string_literals;

std::string Package(const std::string& id, const std::string& content) {
  return "<ProductPackage><ProductID>" + id + "</ProductID>" + content + "</ProductPackage>";
}
// Attributes without a value are omitted.
std::string Detection(const std::string& branch, const std::string& version) {
  return "<ProductDetection" + (branch.empty() ? "" : " Branch='" + branch + "'") +
         "><ProductVersion>" + version + "</ProductVersion><PlatformID>W-" + version +
         "</PlatformID></ProductDetection>";
}
std::string Language(const std::string& branch, const std::string& version,
                     const std::string& type = "", const std::string& content = "") {
  return "<LangPackage" + (branch.empty() ? "" : " Branch='" + branch + "'") +
         (version.empty() ? "" : " Version='" + version + "'") + ">" + content +
         (type.empty() ? "" : "<PackageType>" + type + "</PackageType>") + "</LangPackage>";
}
const std::string settings =
    "<ExtraSettings><Setting>unnamed</Setting><Setting Name='minimumdatversion'>0</Setting>"
    "<Setting Name='MinimumDATVersion'>99</Setting><Other/><Setting "
    "Name='EngineFile'>e.dll</Setting></ExtraSettings>";

// All fields in order, joined to one text for comparison.
std::string Joined(const DetectionInfo& i) {
  return i.ProductVersion + "," + i.ProductID + "," + i.LangID + "," + i.PlatformID + "," +
         i.MinimumDATVersion + "," + i.Branch + "," + i.PackageType + "," + i.EngineFile + "," +
         i.Version + ",";
}

// All calls of a walk from a position on: code, record and new position.
std::string Walk(const TestDocument& document, std::array<std::uint32_t, 3> position = {1, 1, 1}) {
  std::string calls;
  DetectionInfo info;
  std::uint32_t code;
  do {
    info.ProductID = info.Version = "left over";
    code = EnumDetectionInfo(document.list, &document.cookie, position.data(), &info);
    calls += std::to_string(code) + ":" + Joined(info) + "@";
    for (const std::uint32_t place : position) calls += std::to_string(place);
    calls += '\n';
  } while (code == 0 || !info.Branch.empty()); // a missing Version also gives a code
  return calls;
}

TEST(EnumDetectionInfo, WalksAllPairs) {
  using Row = std::array<std::string, 3>;
  for (const auto& [what, packages, calls] : {
           Row{"no package", "", "3:,,,,,,,,,@111\n"},
           Row{"language packages of one branch, one after the other",
               Package("P", Detection("A", "1") + Language("B", "b") +
                                Language("A", "v2", "T", "<LangID>en</LangID>" + settings) +
                                Language("A", "v3")),
               "0:1,P,en,W-1,99,A,T,e.dll,v2,@113\n0:1,P,,W-1,,A,,,v3,@114\n3:,,,,,,,,,@111\n"},
           Row{"each detection entry, in each package",
               Package("P", Detection("A", "1") + Detection("A", "2") + Language("A", "v")) +
                   Package("Q", "") + Package("R", Language("A", "w") + Detection("A", "3")),
               "0:1,P,,W-1,,A,,,v,@112\n0:2,P,,W-2,,A,,,v,@122\n0:3,R,,W-3,,A,,,w,@312\n3:,,,,,,,,,"
               "@311\n"},
           Row{"a missing Version is the code of a match",
               Package("P", Detection("A", "1") + Language("A", "") + Language("A", "v")),
               "3:1,P,,W-1,,A,,,,@112\n0:1,P,,W-1,,A,,,v,@113\n3:,,,,,,,,,@111\n"},
           Row{"an entry without a branch is passed over, a language package without one ends the "
               "entry's",
               Package("P", Detection("", "0") + Detection("A", "1") + Language("A", "v") +
                                Language("", "") + Language("A", "w")),
               "0:1,P,,W-1,,A,,,v,@122\n3:,,,,,,,,,@111\n"},
       }) {
    SCOPED_TRACE(what);
    const TestDocument document("<Root>" + packages + "</Root>");
    EXPECT_EQ(Walk(document), calls);
    EXPECT_EQ(Walk(document), calls) << "from the element map";
  }
}

// Position 0 finds only what position 1 has opened before, and is never stored.
TEST(EnumDetectionInfo, TakesPositionsAsTheyStand) {
  const TestDocument document("<C>" + Package("P", Detection("A", "1") + Language("A", "v")) +
                              "</C>");
  EXPECT_EQ(Walk(document, {0, 0, 0}), "3:,,,,,,,,,@000\n");
  EXPECT_EQ(Walk(document), "0:1,P,,W-1,,A,,,v,@112\n3:,,,,,,,,,@111\n");
  EXPECT_EQ(Walk(document, {0, 0, 0}),
            "0:1,P,,W-1,,A,,,v,@111\n0:1,P,,W-1,,A,,,v,@112\n3:,,,,,,,,,@111\n");
}

TEST(GetDetectionInfo, FindsTheOnePair) {
  const TestDocument document(
      "<Catalog>" + Package("Quarter", "") +
      Package("Quart", Detection("A", "1") + Detection("B", "2") + Language("B", "v1", "Full") +
                           Language("A", "v2", "Full") +
                           Language("B", "v3", "Delta", "<LangID>de</LangID>" + settings) +
                           Language("B", "", "Bare") + Language("B", "v5") +
                           Language("B", "v6", "Late")) +
      Package("Quart", Detection("C", "3") + Language("C", "v", "Full")) + "<ProductPackage/>" +
      Package("R", "") + "</Catalog>");
  DetectionInfo info;
  const auto get = [&](const char* branch, const char* product, const char* type,
                       std::uint32_t cookie) {
    info.EngineFile = "left over";
    const std::uint32_t code =
        GetDetectionInfo(document.list, &cookie, branch, product, type, &info);
    return std::to_string(code) + ":" + Joined(info);
  };
  const std::uint32_t cookie = document.cookie;
  EXPECT_EQ(get("B", "Quart", "Full", cookie), "0:2,Quart,,W-2,,B,Full,,v1,");
  EXPECT_EQ(get("B", "Quart", "Delta", cookie), "0:2,Quart,de,W-2,99,B,Delta,e.dll,v3,");
  EXPECT_EQ(get("A", "Quart", "Full", cookie), "0:1,Quart,,W-1,,A,Full,,v2,");
  EXPECT_EQ(get("B", "Quart", "Bare", cookie),
            "3:2,Quart,,W-2,,B,Bare,,,"); // only Version is missing
  // A package without a type ends the search before it. Only the first product of that name is
  // looked at, and none behind a package without a name.
  using Row = std::array<const char*, 3>;
  for (const auto& [branch, product, type] :
       {Row{"B", "Quart", "Late"}, Row{"C", "Quart", "Full"}, Row{"B", "R", "Full"},
        Row{"B", "Quart", "full"}, Row{nullptr, "Quart", "Full"}, Row{"B", nullptr, "Full"},
        Row{"B", "Quart", nullptr}}) {
    EXPECT_EQ(get(branch, product, type, cookie), "3:,,,,,,,,,");
  }
  EXPECT_EQ(get("B", "Quart", "Full", ~cookie).front(), '3');
}

// A path of one name that begins with the root's name means the root, whatever the occurrence. A
// walk must end even then.
TEST(DetectionQueries, EndWhateverTheRootIsCalled) {
  const std::string package = Package("P", Detection("A", "1") + Language("A", "v", "T", settings));
  using Row = std::tuple<std::string, std::uint32_t, std::uint32_t>;
  for (const auto& [root, walked, found] :
       {Row("Product", 3, 3), Row("ProductPackage", 3, 0), Row("Lang", 3, 3),
        Row("ProductDetection", 3, 3), Row("Set", 0, 0), Row("ExtraSettings", 0, 0)}) {
    SCOPED_TRACE(root);
    const std::string begin = "<" + root + ">", end = "</" + root + ">";
    const TestDocument document(begin + Detection("A", "1") + Language("A", "v") + package + end);
    EXPECT_EQ(Walk(document),
              walked == 0 ? "0:1,P,,W-1,,A,T,,v,@112\n3:,,,,,,,,,@111\n" : "3:,,,,,,,,,@111\n");
    const TestDocument nested(begin + "<Catalog>" + package + "</Catalog>" + end);
    DetectionInfo info;
    EXPECT_EQ(GetDetectionInfo(nested.list, &nested.cookie, "A", "P", "T", &info), found);
  }
}

// A search in a root without children finds the root if its name begins with the path, whatever the
// occurrence.
TEST(Queries, FindNothingInARootWithoutChildren) {
  for (const char* root : {"Product", "ProductPackage", "ProductPackages", "ProductDetections",
                           "LangPackages", "FileItems", "Catalog", "SiteStatuses"}) {
    SCOPED_TRACE(root);
    const TestDocument document("<" + std::string(root) + "/>");
    EXPECT_EQ(Walk(document), "3:,,,,,,,,,@111\n");
    DetectionInfo info;
    EXPECT_EQ(GetDetectionInfo(document.list, &document.cookie, "A", "P", "T", &info), 3U);
    std::vector<FileListEntry> files;
    EXPECT_EQ(GetFileList(document.list, &document.cookie, &files), 3U);
    EXPECT_TRUE(files.empty());
    std::uint8_t enabled = 7;
    EXPECT_EQ(IsRepositoryEnabled(document.list, &document.cookie, &enabled, nullptr, nullptr), 3U);
    EXPECT_EQ(enabled, 0);
  }
}

TEST(GetFileList, AppendsWhatItReads) {
  const auto item = [](const std::string& name) {
    return "<FileItem><Name>" + name + "</Name><Hash>1</Hash></FileItem>";
  };
  using Row = std::tuple<std::string, std::uint32_t, std::string>;
  for (const auto& [content, code, wanted] :
       {Row(item("a") + "<FileItem><Hash>2</Hash><Name>b</Name></FileItem>" + item("a"), 0,
            "old=,a=1,b=2,a=1,"),
        Row(item("a") + "<FileItem><Name>b</Name></FileItem>" + item("a"), 3, "old=,a=1,"),
        Row(item("a") + "<Other/><FileItem><Hash>2</Hash></FileItem>", 3, "old=,a=1,"),
        Row("<FileItem><Name/><Hash/></FileItem>", 0, "old=,=,"), Row("", 3, "old=,"),
        Row(item(std::string(300, 'n')), 0, "old=," + std::string(259, 'n') + "=1,")}) {
    const TestDocument document("<Catalog><ProductPackage><Other/><LangPackage><FileList>" +
                                content + "</FileList></LangPackage><LangPackage><FileList>" +
                                item("z") + "</FileList></LangPackage></ProductPackage></Catalog>");
    std::vector<FileListEntry> files{{"old", ""}};
    EXPECT_EQ(GetFileList(document.list, &document.cookie, &files), code);
    std::string entries;
    for (const FileListEntry& file : files) entries += file.Name + "=" + file.Hash + ",";
    EXPECT_EQ(entries, wanted);
  }
}

TEST(MatchXmlListToFileName, ComparesTheLastComponent) {
  const TestDocument document("<a/>");
  std::uint32_t matches = 7;
  EXPECT_EQ(MatchXmlListToFileName(document.list, ~document.cookie, "c.xml", nullptr), 3U);
  EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, "c.xml", nullptr), 17U);
  EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, nullptr, &matches), 17U);
  using Row = std::tuple<const char*, const char*, std::uint32_t>;
  for (const auto& [opened, asked, wanted] :
       {Row("a/C.xml", "c.XML", 1), Row("a/C.xml", "/C.xml", 0), Row("a/C.xml", "C.xm", 0),
        Row("a/b\\c.xml", "b\\c.xml", 1), Row("a/b\\c.xml", "c.xml", 0),
        Row("b\\c.xml", "C.xml", 1) /* where no "/" is */, Row("c.xml", "c.xml", 1)}) {
    std::strcpy(document.list->files.front().fileName, opened);
    EXPECT_EQ(MatchXmlListToFileName(document.list, document.cookie, asked, &matches), 0U);
    EXPECT_EQ(matches, wanted) << opened << " " << asked;
  }
}

TEST(IsRepositoryEnabled, ReadsStatusAndVersion) {
  constexpr std::uint32_t noBuffer = 99;
  using Row = std::tuple<std::string, std::uint32_t, std::uint32_t, int, std::string>;
  for (const auto& [attributes, capacity, code, isEnabled, version] :
       {Row("Status='Enabled' CatalogVersion='2.1'", 12, 0, 1, "2.1\0Found\0\0\0"s),
        Row("Status='enabled' CatalogVersion='2.1'", 4, 0, 0, "2.1\0"s),
        Row("Status='Enabled ' CatalogVersion='2.1'", 3, 0, 0, "2.\0"s),
        Row("Status='Enabled'", 12, 3, 1, "Not Found\0\0\0"s),
        Row("CatalogVersion='2.1'", 4, 3, 0, "Not\0"s), Row("CatalogVersion='2.1'", 1, 3, 0, "\0"s),
        Row("Status='Enabled'", 0, 0, 1, ""), Row("", noBuffer, 3, 0, ""),
        Row("Status='" + std::string(300, 'E') + "' CatalogVersion=''", 3, 0, 0, "\0o\0"s)}) {
    SCOPED_TRACE(attributes.substr(0, 60) + " " + std::to_string(capacity));
    const TestDocument document("<SiteStatus " + attributes + "/>");
    std::string buffer(16, '#');
    std::uint8_t enabled = 7;
    char* const text = capacity == noBuffer ? nullptr : buffer.data();
    const std::uint32_t* const room = text == nullptr ? nullptr : &capacity;
    EXPECT_EQ(IsRepositoryEnabled(document.list, &document.cookie, &enabled, text, room), code);
    EXPECT_EQ(enabled, isEnabled);
    EXPECT_EQ(buffer, version + std::string(16 - version.size(), '#')); // the rest is not changed
  }
}

} // namespace
