#include <gtest/gtest.h>

#include <array>

#include "support/open_document.h"

namespace {

std::string Package(const std::string& id, const std::string& content) {
  return "<ProductPackage><ProductID>" + id + "</ProductID>" + content + "</ProductPackage>";
}
// Without an attribute where there is no value.
std::string Detection(const std::string& branch, const std::string& version) {
  return "<ProductDetection" + (branch.empty() ? "" : " Branch='" + branch + "'") + "><ProductVersion>" + version +
         "</ProductVersion><PlatformID>W-" + version + "</PlatformID></ProductDetection>";
}
std::string Language(const std::string& branch, const std::string& version, const std::string& content = "") {
  return "<LangPackage" + (branch.empty() ? "" : " Branch='" + branch + "'") +
         (version.empty() ? "" : " Version='" + version + "'") + ">" + content + "</LangPackage>";
}

// All fields in order, so that one text says what a record holds.
std::string Joined(const DetectionInfo& info) {
  return info.ProductVersion + "," + info.ProductID + "," + info.LangID + "," + info.PlatformID + "," +
         info.MinimumDATVersion + "," + info.Branch + "," + info.PackageType + "," + info.EngineFile + "," +
         info.Version;
}

// The calls of a whole walk from a position: code, record and the position afterwards.
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
  } while (code == 0 || !info.Branch.empty()); // a missing Version alone also gives a code
  return calls;
}

const std::string settings =
    "<ExtraSettings><Setting>unnamed</Setting><Setting Name='minimumdatversion'>0</Setting>"
    "<Setting Name='MinimumDATVersion'>99</Setting><Other/><Setting Name='EngineFile'>e.dll</Setting></ExtraSettings>";

const struct {
  const char* what;
  std::string packages;
  std::string calls;
} walks[] = {
    {"no package", "", "3:,,,,,,,,@111\n"},
    {"language packages of one branch, one after the other",
     Package("P", Detection("A", "1") + Language("B", "b") +
                      Language("A", "v2", "<LangID>en</LangID><PackageType>T</PackageType>" + settings) +
                      Language("A", "v3")),
     "0:1,P,en,W-1,99,A,T,e.dll,v2@113\n0:1,P,,W-1,,A,,,v3@114\n3:,,,,,,,,@111\n"},
    {"each detection entry, in each package",
     Package("P", Detection("A", "1") + Detection("A", "2") + Language("A", "v")) + Package("Q", "") +
         Package("R", Language("A", "w") + Detection("A", "3")),
     "0:1,P,,W-1,,A,,,v@112\n0:2,P,,W-2,,A,,,v@122\n0:3,R,,W-3,,A,,,w@312\n3:,,,,,,,,@311\n"},
    {"a missing Version is the code of a match",
     Package("P", Detection("A", "1") + Language("A", "") + Language("A", "v")),
     "3:1,P,,W-1,,A,,,@112\n0:1,P,,W-1,,A,,,v@113\n3:,,,,,,,,@111\n"},
    {"an entry without a branch is passed over, a language package without one ends the entry's",
     Package("P",
             Detection("", "0") + Detection("A", "1") + Language("A", "v") + Language("", "") + Language("A", "w")),
     "0:1,P,,W-1,,A,,,v@122\n3:,,,,,,,,@111\n"},
    {"the miss's text is a text like any other", Package("P", Detection("Not Found", "1") + Language("", "v")),
     "0:1,P,,W-1,,Not Found,,,v@112\n3:,,,,,,,,@111\n"},
    {"a field is cut at 259 bytes", Package(std::string(300, 'x'), Detection("A", "1") + Language("A", "v")),
     "0:1," + std::string(259, 'x') + ",,W-1,,A,,,v@112\n3:,,,,,,,,@111\n"},
};

TEST(EnumDetectionInfo, WalksAllPairs) {
  for (const auto& walk : walks) {
    SCOPED_TRACE(walk.what);
    const TestDocument document("<Root>" + walk.packages + "</Root>");
    EXPECT_EQ(Walk(document), walk.calls);
    EXPECT_EQ(Walk(document), walk.calls) << "from the element map";
  }
}

// Position 0 finds only what 1 has opened before, and is never stored.
TEST(EnumDetectionInfo, TakesPositionsAsTheyStand) {
  const TestDocument document("<C>" + Package("P", Detection("A", "1") + Language("A", "v")) + "</C>");
  EXPECT_EQ(Walk(document, {0, 0, 0}), "3:,,,,,,,,@000\n");
  EXPECT_EQ(Walk(document, {1, 1, 4'294'967'295}), "3:,,,,,,,,@111\n");
  Walk(document);
  EXPECT_EQ(Walk(document, {0, 0, 0}), "0:1,P,,W-1,,A,,,v@111\n0:1,P,,W-1,,A,,,v@112\n3:,,,,,,,,@111\n");
}

TEST(GetDetectionInfo, FindsTheOnePair) {
  const std::string full = "<PackageType>Full</PackageType>";
  const TestDocument document(
      "<Catalog>" + Package("Quarter", "") +
      Package("Quart", Detection("A", "1") + Detection("B", "2") + Language("B", "v1", full) +
                           Language("A", "v2", full) +
                           Language("B", "v3", "<PackageType>Delta</PackageType><LangID>de</LangID>" + settings) +
                           Language("B", "", "<PackageType>Bare</PackageType>") + Language("B", "v5") +
                           Language("B", "v6", "<PackageType>Late</PackageType>")) +
      Package("Quart", Detection("C", "3") + Language("C", "v", full)) + "<ProductPackage/>" + Package("R", "") +
      "</Catalog>");
  const struct {
    const char *branch, *product, *type;
    std::uint32_t code = 3;
    const char* fields = ",,,,,,,,";
  } cases[] = {
      {"B", "Quart", "Full", 0, "2,Quart,,W-2,,B,Full,,v1"},
      {"B", "Quart", "Delta", 0, "2,Quart,de,W-2,99,B,Delta,e.dll,v3"},
      {"A", "Quart", "Full", 0, "1,Quart,,W-1,,A,Full,,v2"},
      {"B", "Quart", "Bare", 3, "2,Quart,,W-2,,B,Bare,,"}, // only Version is missing
      {"B", "Quart", "Late"},                              // a package without a type ends the search before it
      {"C", "Quart", "Full"},                              // only the first product of that name is looked at
      {"B", "R", "Full"},                                  // nor is one behind a package without a name
      {"B", "Quart", "full"},
      {nullptr, "Quart", "Full"},
      {"B", nullptr, "Full"},
      {"B", "Quart", nullptr},
  };
  for (const auto& c : cases) {
    DetectionInfo info;
    info.EngineFile = "left over";
    EXPECT_EQ(GetDetectionInfo(document.list, &document.cookie, c.branch, c.product, c.type, &info), c.code);
    EXPECT_EQ(Joined(info), c.fields) << (c.type ? c.type : "null");
  }
  DetectionInfo info;
  DetectionPosition position = {1, 1, 1};
  const std::uint32_t unknown = ~document.cookie;
  EXPECT_EQ(GetDetectionInfo(document.list, &unknown, "B", "Quart", "Full", &info), 3U);
  EXPECT_EQ(EnumDetectionInfo(document.list, &unknown, position, &info), 3U);
}

// A path of one name that begins with the root's names the root alone, whatever the occurrence: a walk must end all the same.
TEST(DetectionQueries, EndWhateverTheRootIsCalled) {
  const std::string package =
      Package("P", Detection("A", "1") + Language("A", "v", "<PackageType>T</PackageType>" + settings));
  const struct {
    std::string root;
    std::uint32_t walked, found;
  } cases[] = {{"Product", 3, 3}, {"ProductPackage", 3, 0}, {"ProductDetection", 3, 3}, {"Lang", 3, 3},
               {"Set", 0, 0},     {"ExtraSettings", 0, 0}};
  for (const auto& [root, walked, found] : cases) {
    SCOPED_TRACE(root);
    const std::string begin = "<" + root + ">", end = "</" + root + ">";
    const TestDocument document(begin + Detection("A", "1") + Language("A", "v") + package + end);
    EXPECT_EQ(Walk(document), walked == 0 ? "0:1,P,,W-1,,A,T,,v@112\n3:,,,,,,,,@111\n" : "3:,,,,,,,,@111\n");
    const TestDocument nested(begin + "<Catalog>" + package + "</Catalog>" + end);
    DetectionInfo info;
    EXPECT_EQ(GetDetectionInfo(nested.list, &nested.cookie, "A", "P", "T", &info), found);
  }
}

} // namespace
