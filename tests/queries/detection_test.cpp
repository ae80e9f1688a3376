#include <gtest/gtest.h>

#include <array>
#include <map>

#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

std::string Package(const std::string& id, const std::string& content) {
  return "<ProductPackage><ProductID>" + id + "</ProductID>" + content + "</ProductPackage>";
}
std::string Detection(const std::string& attributes, const std::string& version) {
  return "<ProductDetection " + attributes + "><ProductVersion>" + version + "</ProductVersion><PlatformID>W-" +
         version + "</PlatformID></ProductDetection>";
}
std::string Language(const std::string& attributes, const std::string& content) {
  return "<LangPackage " + attributes + ">" + content + "</LangPackage>";
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
  for (int call = 0; call < 10; ++call) {
    DetectionInfo info;
    info.ProductID = info.Version = "left over";
    const std::uint32_t code = EnumDetectionInfo(document.list, &document.cookie, position.data(), &info);
    calls += std::to_string(code) + ":" + Joined(info) + "@" + std::to_string(position[0]) +
             std::to_string(position[1]) + std::to_string(position[2]) + "\n";
    if (code != 0 && info.Branch.empty()) break; // the end; a missing Version alone also gives a code
  }
  return calls;
}

const std::string settings =
    "<ExtraSettings><Setting>unnamed</Setting><Setting Name='minimumdatversion'>0</Setting>"
    "<Setting Name='MinimumDATVersion'>99</Setting><Other/><Setting Name='EngineFile'>e.dll</Setting></ExtraSettings>";

struct WalkCase {
  const char* what;
  std::string catalog;
  std::string calls;
};

const WalkCase walkCases[] = {
    {"no package", "<Catalog/>", "3:,,,,,,,,@111\n"},
    {"language packages of one branch, one after the other",
     "<Catalog>" +
         Package("P",
                 Detection("Branch='A'", "1") + Language("Branch='B' Version='b'", "") +
                     Language("Branch='A' Version='v2'", "<LangID>en</LangID><PackageType>T</PackageType>" + settings) +
                     Language("Branch='A' Version='v3'", "")) +
         "</Catalog>",
     "0:1,P,en,W-1,99,A,T,e.dll,v2@113\n0:1,P,,W-1,,A,,,v3@114\n3:,,,,,,,,@111\n"},
    {"each detection entry, in each package",
     "<Root>" +
         Package("P",
                 Detection("Branch='A'", "1") + Detection("Branch='A'", "2") + Language("Branch='A' Version='v'", "")) +
         Package("Q", "") + Package("R", Language("Branch='A' Version='w'", "") + Detection("Branch='A'", "3")) +
         "</Root>",
     "0:1,P,,W-1,,A,,,v@112\n0:2,P,,W-2,,A,,,v@122\n0:3,R,,W-3,,A,,,w@312\n3:,,,,,,,,@311\n"},
    {"a missing Version is the code of a match",
     "<C>" +
         Package("P",
                 Detection("Branch='A'", "1") + Language("Branch='A'", "") + Language("Branch='A' Version='v'", "")) +
         "</C>",
     "3:1,P,,W-1,,A,,,@112\n0:1,P,,W-1,,A,,,v@113\n3:,,,,,,,,@111\n"},
    {"an entry without a branch is passed over, a language package without one ends the entry's",
     "<C>" +
         Package("P", Detection("", "0") + Detection("Branch='A'", "1") + Language("Branch='A' Version='v'", "") +
                          Language("", "") + Language("Branch='A' Version='w'", "")) +
         "</C>",
     "0:1,P,,W-1,,A,,,v@122\n3:,,,,,,,,@111\n"},
    {"the miss's text is a text like any other",
     "<C>" + Package("P", Detection("Branch='Not Found'", "1") + Language("Version='v'", "")) + "</C>",
     "0:1,P,,W-1,,Not Found,,,v@112\n3:,,,,,,,,@111\n"},
};

TEST(EnumDetectionInfo, WalksAllPairs) {
  for (const WalkCase& c : walkCases) {
    SCOPED_TRACE(c.what);
    const TestDocument document(c.catalog);
    EXPECT_EQ(Walk(document), c.calls);
    EXPECT_EQ(Walk(document), c.calls) << "from the element map";
  }
}

// Position 0 finds only what 1 has opened before, and is never stored.
TEST(EnumDetectionInfo, TakesPositionsAsTheyStand) {
  const TestDocument document(
      "<C>" + Package("P", Detection("Branch='A'", "1") + Language("Branch='A' Version='v'", "")) + "</C>");
  EXPECT_EQ(Walk(document, {0, 0, 0}), "3:,,,,,,,,@000\n");
  EXPECT_EQ(Walk(document, {1, 1, 4'294'967'295}), "3:,,,,,,,,@111\n");
  Walk(document);
  EXPECT_EQ(Walk(document, {0, 0, 0}), "0:1,P,,W-1,,A,,,v@111\n0:1,P,,W-1,,A,,,v@112\n3:,,,,,,,,@111\n");
}

TEST(EnumDetectionInfo, CutsFieldsAt259Bytes) {
  const std::string text(300, 'x');
  const TestDocument document(
      "<C>" + Package(text, Detection("Branch='A'", "1") + Language("Branch='A' Version='v'", "")) + "</C>");
  DetectionPosition position{1, 1, 1};
  DetectionInfo info;
  EXPECT_EQ(EnumDetectionInfo(document.list, &document.cookie, position, &info), 0U);
  EXPECT_EQ(info.ProductID, text.substr(0, 259));
}

TEST(GetDetectionInfo, FindsTheOnePair) {
  const TestDocument document(
      "<Catalog>" + Package("P", "") +
      Package(
          "Q",
          Detection("Branch='A'", "1") + Detection("Branch='B'", "2") +
              Language("Branch='B' Version='v1'", "<PackageType>Full</PackageType>") +
              Language("Branch='A' Version='v2'", "<PackageType>Full</PackageType>") +
              Language("Branch='B' Version='v3'", "<PackageType>Delta</PackageType><LangID>de</LangID>" + settings) +
              Language("Branch='B'", "<PackageType>Bare</PackageType>") + Language("Branch='B' Version='v5'", "") +
              Language("Branch='B' Version='v6'", "<PackageType>Late</PackageType>")) +
      Package("Q",
              Detection("Branch='C'", "3") + Language("Branch='C' Version='v'", "<PackageType>Full</PackageType>")) +
      "<ProductPackage/>" + Package("R", "") + "</Catalog>");
  const std::string longText(300, 'l');
  const struct {
    const char* branch;
    const char* product;
    const char* type;
    std::uint32_t code;
    const char* fields;
  } cases[] = {
      {"B", "Q", "Full", 0, "2,Q,,W-2,,B,Full,,v1"},
      {"B", "Q", "Delta", 0, "2,Q,de,W-2,99,B,Delta,e.dll,v3"},
      {"A", "Q", "Full", 0, "1,Q,,W-1,,A,Full,,v2"},
      {"B", "Q", "Bare", 3, "2,Q,,W-2,,B,Bare,,"}, // only Version is missing
      {"B", "Q", "Late", 3, ",,,,,,,,"},           // a package without a type ends the search before it
      {"C", "Q", "Full", 3, ",,,,,,,,"},           // only the first product of that name is looked at
      {"B", "R", "Full", 3, ",,,,,,,,"},           // nor is one behind a package without a name
      {"B", "Q", "full", 3, ",,,,,,,,"},
      {nullptr, "Q", "Full", 3, ",,,,,,,,"},
      {"B", nullptr, "Full", 3, ",,,,,,,,"},
      {"B", "Q", nullptr, 3, ",,,,,,,,"},
      {"B", longText.c_str(), "Full", 3, ",,,,,,,,"},
  };
  for (const auto& c : cases) {
    DetectionInfo info;
    info.EngineFile = "left over";
    EXPECT_EQ(GetDetectionInfo(document.list, &document.cookie, c.branch, c.product, c.type, &info), c.code);
    EXPECT_EQ(Joined(info), c.fields) << (c.type ? c.type : "null");
  }
  const std::uint32_t unknown = ~document.cookie;
  DetectionInfo info;
  EXPECT_EQ(GetDetectionInfo(document.list, &unknown, "B", "Q", "Full", &info), 3U);
  DetectionPosition position{1, 1, 1};
  EXPECT_EQ(EnumDetectionInfo(document.list, &unknown, position, &info), 3U);
}

// The queries are seen only by the calls that they make.
TEST(GetDetectionInfo, MakesItsCallsInOrder) {
  const TestDocument document(
      "<Catalog>" +
      Package("P", Detection("Branch='A'", "1") +
                       Language("Branch='A' Version='v'", "<PackageType>T</PackageType>" + settings)) +
      "</Catalog>");
  LogLines log;
  DetectionInfo info;
  ASSERT_EQ(GetDetectionInfo(document.list, &document.cookie, "A", "P", "T", &info), 0U);
  const std::map<std::string, char> letters{
      {">OpenXMLGroup", 'o'}, {">EnumXMLGroup", 'g'}, {">GetXMLItem", 'r'}, {">EnumXMLItem", 'n'}};
  std::string calls;
  for (const std::string& trace : log.TakeTraces()) {
    if (letters.contains(trace)) calls += letters.at(trace);
  }
  // A group and its item for each of package, entry and language package, and the type; three fields; the settings, of
  // which four have their names looked at and two are read; the Version.
  EXPECT_EQ(calls,
            "grgrgrr"
            "rrr"
            "o"
            "gr"
            "gr"
            "grn"
            "grn"
            "g"
            "r");
}

} // namespace
