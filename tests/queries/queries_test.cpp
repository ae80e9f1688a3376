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

// The code, and the fields that are not empty, by name.
std::string Answer(std::uint32_t code, const DetectionInfo& info) {
  std::string answer = std::to_string(code);
  using Field = std::pair<const char*, const std::string&>;
  for (const auto& [name, field] :
       {Field("product", info.ProductID), Field("version", info.ProductVersion),
        Field("platform", info.PlatformID), Field("branch", info.Branch),
        Field("package", info.Version), Field("type", info.PackageType),
        Field("language", info.LangID), Field("dat", info.MinimumDATVersion),
        Field("engine", info.EngineFile)}) {
    if (!field.empty()) answer += std::string(" ") + name + "=" + field;
  }
  return answer;
}

using Calls = std::vector<std::string>;
const std::string end = "3 next 1,1,1";

// All calls of a walk from a position on: each one's answer, and the new position.
Calls Walk(const TestDocument& document, std::array<std::uint32_t, 3> position = {1, 1, 1}) {
  Calls calls;
  DetectionInfo info;
  std::uint32_t code;
  do {
    info.ProductID = info.Version = "left over";
    code = EnumDetectionInfo(document.list, &document.cookie, position.data(), &info);
    calls.push_back(Answer(code, info) + " next " + std::to_string(position[0]) + "," +
                    std::to_string(position[1]) + "," + std::to_string(position[2]));
  } while (code == 0 || !info.Branch.empty()); // a missing Version also gives a code
  return calls;
}

const std::string pair = "0 product=P version=1 platform=W-1 branch=A package=v";

TEST(EnumDetectionInfo, WalksAllPairs) {
  using Row = std::tuple<const char*, std::string, Calls>;
  for (const auto& [what, packages, calls] : {
           Row("no package", "", {end}),
           Row("language packages of one branch, one after the other",
               Package("P", Detection("A", "1") + Language("B", "b") +
                                Language("A", "v", "T", "<LangID>en</LangID>" + settings) +
                                Language("A", "v")),
               {pair + " type=T language=en dat=99 engine=e.dll next 1,1,3", pair + " next 1,1,4",
                end}),
           Row("each detection entry, in each package",
               Package("P", Detection("A", "1") + Detection("A", "2") + Language("A", "v")) +
                   Package("Q", "") + Package("R", Language("A", "w") + Detection("A", "3")),
               {pair + " next 1,1,2",
                "0 product=P version=2 platform=W-2 branch=A package=v next 1,2,2",
                "0 product=R version=3 platform=W-3 branch=A package=w next 3,1,2",
                "3 next 3,1,1"}),
           Row("a missing Version is the code of a match",
               Package("P", Detection("A", "1") + Language("A", "") + Language("A", "v")),
               {"3 product=P version=1 platform=W-1 branch=A next 1,1,2", pair + " next 1,1,3",
                end}),
           Row("an entry without a branch is passed over, a language package without one ends the "
               "entry's",
               Package("P", Detection("", "0") + Detection("A", "1") + Language("A", "v") +
                                Language("", "") + Language("A", "w")),
               {pair + " next 1,2,2", end}),
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
  EXPECT_EQ(Walk(document, {0, 0, 0}), Calls{"3 next 0,0,0"});
  EXPECT_EQ(Walk(document), (Calls{pair + " next 1,1,2", end}));
  EXPECT_EQ(Walk(document, {0, 0, 0}), (Calls{pair + " next 1,1,1", pair + " next 1,1,2", end}));
}

std::string Get(const TestDocument& document, const char* branch, const char* product,
                const char* type) {
  DetectionInfo info;
  info.EngineFile = "left over";
  return Answer(GetDetectionInfo(document.list, &document.cookie, branch, product, type, &info),
                info);
}

TEST(GetDetectionInfo, FindsTheOnePair) {
  TestDocument document(
      "<Catalog>" + Package("Quarter", "") +
      Package("Quart", Detection("A", "1") + Detection("B", "2") + Language("B", "v1", "Full") +
                           Language("A", "v2", "Full") +
                           Language("B", "v3", "Delta", "<LangID>de</LangID>" + settings) +
                           Language("B", "", "Bare") + Language("B", "v5") +
                           Language("B", "v6", "Late")) +
      Package("Quart", Detection("C", "3") + Language("C", "v", "Full")) + "<ProductPackage/>" +
      Package("R", "") + "</Catalog>");
  const std::string b = "product=Quart version=2 platform=W-2 branch=B ";
  using Row = std::tuple<const char*, const char*, const char*, std::string>;
  for (const auto& [branch, product, type, answer] : {
           Row("B", "Quart", "Full", "0 " + b + "package=v1 type=Full"),
           Row("B", "Quart", "Delta",
               "0 " + b + "package=v3 type=Delta language=de dat=99 engine=e.dll"),
           Row("A", "Quart", "Full",
               "0 product=Quart version=1 platform=W-1 branch=A package=v2 type=Full"),
           Row("B", "Quart", "Bare", "3 " + b + "type=Bare"), // only Version is missing
           // A package without a type ends the search before it. Only the first product of that
           // name is looked at, and none after a package without a name.
           Row("B", "Quart", "Late", "3"),
           Row("C", "Quart", "Full", "3"),
           Row("B", "R", "Full", "3"),
           Row("B", "Quart", "full", "3"),
           Row(nullptr, "Quart", "Full", "3"),
           Row("B", nullptr, "Full", "3"),
           Row("B", "Quart", nullptr, "3"),
       }) {
    EXPECT_EQ(Get(document, branch, product, type), answer);
  }
  ++document.cookie;
  EXPECT_EQ(Get(document, "B", "Quart", "Full"), "3");
}

// A path of one name that begins with the root's name means the root, whatever the occurrence, and
// a search in a root without children finds the root if its name begins with the path. A walk must
// end even then.
TEST(Queries, EndWhateverTheRootIsCalled) {
  const std::string pairs = Detection("A", "1") + Language("A", "v", "T", settings);
  const char* const all = " dat=99 engine=e.dll";
  using Row = std::tuple<const char*, const char*, char>;
  for (const auto& [root, settingsFound, code] :
       {Row("Product", nullptr, '3'), Row("ProductPackage", nullptr, '0'),
        Row("Lang", nullptr, '3'), Row("ProductDetection", nullptr, '3'), Row("Set", "", '0'),
        Row("ExtraSettings", "", '0'), Row("ProductPackages", all, '0'),
        Row("ProductDetections", all, '0'), Row("LangPackages", all, '0'),
        Row("FileItems", all, '0'), Row("Catalog", all, '3'), Row("SiteStatuses", all, '0')}) {
    SCOPED_TRACE(root);
    const std::string begin = std::string("<") + root + ">", close = std::string("</") + root + ">";
    const TestDocument document(begin + pairs + Package("P", pairs) + close);
    Calls calls{end};
    if (settingsFound != nullptr)
      calls.insert(calls.begin(), pair + " type=T" + settingsFound + " next 1,1,2");
    EXPECT_EQ(Walk(document), calls);
    const TestDocument nested(begin + "<Catalog>" + Package("P", pairs) + "</Catalog>" + close);
    EXPECT_EQ(Get(nested, "A", "P", "T").front(), code);

    const TestDocument empty(begin + close);
    EXPECT_EQ(Walk(empty), Calls{end});
    EXPECT_EQ(Get(empty, "A", "P", "T"), "3");
    std::vector<FileListEntry> files;
    EXPECT_EQ(GetFileList(empty.list, &empty.cookie, &files), 3U);
    std::uint8_t enabled = 7;
    EXPECT_EQ(IsRepositoryEnabled(empty.list, &empty.cookie, &enabled, nullptr, nullptr), 3U);
    EXPECT_EQ(files.size() + enabled, 0U);
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
