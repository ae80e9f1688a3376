#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <regex>

#include "registry/record.h"
#include "support/open_document.h"
#include "support/text.h"

namespace {

// A document in short. An attribute Branch or Version and an element without a value are omitted.
std::string Markup(std::string text) {
  const char* const forms[][2] = {
      {"FL (.*)/FL",
       "<C><ProductPackage><Other/><LangPackage><FileList> $1</FileList></LangPackage><LangPackage>"
       "<FileList>F:z:1</FileList></LangPackage></ProductPackage></C>"},
      {"F:(\\w*):(\\w*)", "<FileItem><Name>$1</Name><Hash>$2</Hash></FileItem>"},
      {"P:(\\w*)(.*?)/P\\b", "<ProductPackage><ProductID>$1</ProductID>$2</ProductPackage>"},
      {"D:(\\w*):(\\w*)",
       "<ProductDetection "
       "Branch='$1'><ProductVersion>$2</ProductVersion><PlatformID>W-$2</PlatformID></"
       "ProductDetection>"},
      {"L:(\\w*):(\\w*):(\\w*)(.*?)/L\\b",
       "<LangPackage Branch='$1' Version='$2'><PackageType>$3</PackageType>$4</LangPackage>"},
      {"\\bSettings\\b",
       "<LangID>en</LangID><ExtraSettings><Setting "
       "Name='MinimumDATVersion'>99</Setting><Setting>unnamed</Setting><Other/><Setting "
       "Name='EngineFile'>e.dll</Setting><Setting Name='enginefile'>0</Setting></ExtraSettings>"},
      {"<\\w+></\\w+>| (Branch|Version)=''", ""}};
  for (const auto& [form, markup] : forms)
    text = std::regex_replace(text, std::regex(form), markup);
  return text;
}

// The code, and the fields that are not empty.
std::string Answer(std::uint32_t code, const DetectionInfo& info) {
  std::string answer = std::to_string(code);
  for (const std::string* field :
       {&info.ProductVersion, &info.ProductID, &info.LangID, &info.PlatformID,
        &info.MinimumDATVersion, &info.Branch, &info.PackageType, &info.EngineFile, &info.Version})
    answer += (field->empty() ? "" : " ") + *field;
  return answer;
}

// All calls of a walk from a position on: each one's answer, and the new position.
std::string Walk(const TestDocument& document, std::uint32_t start) {
  std::string calls;
  DetectionPosition position = {start, start, start};
  DetectionInfo info;
  std::uint32_t code;
  do {
    info.ProductID = info.Version = "left over";
    code = EnumDetectionInfo(document.list, &document.cookie, position, &info);
    calls += Answer(code, info) + " >";
    for (const std::uint32_t number : position) calls += " " + std::to_string(number);
    calls += "|";
  } while (code == 0 || !info.Branch.empty()); // a missing Version also gives a code
  return calls;
}

// With every byte of the buffer, a zero as "_".
std::string Status(const TestDocument& document, const std::uint32_t* capacity) {
  std::string buffer(16, '#');
  std::uint8_t enabled = 7;
  char* const version = capacity == nullptr ? nullptr : buffer.data();
  const std::uint32_t code =
      IsRepositoryEnabled(document.list, &document.cookie, &enabled, version, capacity);
  std::ranges::replace(buffer, '\0', '_');
  return std::to_string(code) + " " + std::to_string(enabled) + " " + buffer;
}

// What a query answers: "walk START", "get BRANCH PRODUCT TYPE", where "-" stands for null,
// "files", "status CAPACITY" or "status" without a buffer, "match OPENED ASKED".
std::string Ask(const TestDocument& document, std::string_view question) {
  const auto parts = Split(question, ' ');
  const std::vector<std::string> words(parts.begin(), parts.end());
  const auto text = [&](std::size_t i) { return words[i] == "-" ? nullptr : words[i].c_str(); };
  std::uint32_t number = 7;
  if (words.size() == 2) number = static_cast<std::uint32_t>(std::stoul(words[1]));
  if (words[0] == "walk") return Walk(document, number);
  if (words[0] == "status") return Status(document, words.size() == 1 ? nullptr : &number);
  if (words[0] == "get") {
    DetectionInfo info;
    info.EngineFile = "left over";
    number = GetDetectionInfo(document.list, &document.cookie, text(1), text(2), text(3), &info);
    return Answer(number, info);
  }
  if (words[0] == "match") {
    std::strcpy(document.list->files.front().fileName, text(1));
    const auto code = MatchXmlListToFileName(document.list, document.cookie, text(2), &number);
    return std::to_string(code) + " " + std::to_string(number);
  }
  std::vector<FileListEntry> files{{"old", ""}};
  std::string answer = std::to_string(GetFileList(document.list, &document.cookie, &files));
  for (const FileListEntry& file : files) answer += " " + file.Name + "=" + file.Hash;
  return answer;
}

const std::string longName(300, 'n');

const struct {
  std::string words;     // of the document; empty if that of the row before is asked again
  const char* questions; // separated by "|", each with this answer
  std::string answer;
} rows[] = {
    {"<C/>", "walk 1", "3 > 1 1 1|"},
    {"<C> P:P D:A:1 L:B:b: /L L:A:v:T Settings /L L:A:v: /L /P </C>", "walk 1",
     "0 1 P en W-1 99 A T e.dll v > 1 1 3|0 1 P W-1 A v > 1 1 4|3 > 1 1 1|"},
    {"<C> P:P D:A:1 D:A:2 L:A:v: /L /P P:Q /P P:R L:A:w: /L D:A:3 /P </C>", "walk 1",
     "0 1 P W-1 A v > 1 1 2|0 2 P W-2 A v > 1 2 2|0 3 R W-3 A w > 3 1 2|3 > 3 1 1|"},
    // A missing Version is the code of a match.
    {"<C> P:P D:A:1 L:A:: /L L:A:v: /L /P </C>", "walk 1",
     "3 1 P W-1 A > 1 1 2|0 1 P W-1 A v > 1 1 3|3 > 1 1 1|"},
    // An entry without a branch is passed over. A language package without one ends the entry's.
    {"<C> P:P D::0 D:A:1 L:A:v: /L L::: /L L:A:w: /L /P </C>", "walk 1",
     "0 1 P W-1 A v > 1 2 2|3 > 1 1 1|"},
    // A setting that the character set cannot represent ends the settings.
    {"<C> P:P D:A:1 L:A:v:T <ExtraSettings><Setting Name='MinimumDATVersion'>9</Setting><Setting "
     "Name='EngineFile'>\u4e2d</Setting><Setting Name='EngineFile'>e</Setting></ExtraSettings> /L "
     "/P </C>",
     "walk 1", "0 1 P W-1 9 A T v > 1 1 2|3 > 1 1 1|"},
    // Position 0 finds only what position 1 has opened before, and is never stored.
    {"<C> P:P D:A:1 L:A:v: /L /P </C>", "walk 0", "3 > 0 0 0|"},
    {"", "walk 1", "0 1 P W-1 A v > 1 1 2|3 > 1 1 1|"},
    {"", "walk 0", "0 1 P W-1 A v > 1 1 1|0 1 P W-1 A v > 1 1 2|3 > 1 1 1|"},

    {"<Catalog> P:Quarter /P P:Quart D:A:1 D:B:2 L:B:v1:Full /L L:A:v2:Full /L L:B:v3:Delta "
     "Settings /L L:B::Bare /L L:B:v5: /L L:B:v6:Late /L /P P:Quart D:C:3 L:C:v:Full /L /P P: /P "
     "P:R /P "
     "</Catalog>",
     "get B Quart Full", "0 2 Quart W-2 B Full v1"},
    {"", "get B Quart Delta", "0 2 Quart en W-2 99 B Delta e.dll v3"},
    {"", "get A Quart Full", "0 1 Quart W-1 A Full v2"},
    {"", "get B Quart Bare", "3 2 Quart W-2 B Bare"}, // only Version is missing
    // A package without a type ends the search before it. Only the first product of that name is
    // looked at, and none after a package without a name.
    {"",
     "get B Quart Late|get C Quart Full|get B R Full|get B Quart full|get - Quart Full|get B - "
     "Full|get B Quart -",
     "3"},

    {"FL F:a:1 <FileItem><Hash>2</Hash><Name>b</Name></FileItem> F:a:1 /FL", "files",
     "0 old= a=1 b=2 a=1"},
    {"FL F:a:1 F:b: F:a:1 /FL", "files", "3 old= a=1"},
    {"FL F:a:1 <Other/> F::2 /FL", "files", "3 old= a=1"},
    {"FL <FileItem><Name/><Hash/></FileItem> /FL", "files", "0 old= ="},
    {"FL /FL", "files", "3 old="},
    {"FL F:" + longName + ":1 /FL", "files", "0 old= " + longName.substr(0, 259) + "=1"},

    {"<SiteStatus Status='Enabled' CatalogVersion='2.1'/>", "status 12", "0 1 2.1_Found___####"},
    {"<SiteStatus Status='enabled' CatalogVersion='2.1'/>", "status 4", "0 0 2.1_############"},
    {"<SiteStatus Status='Enabled ' CatalogVersion='2.1'/>", "status 3", "0 0 2._#############"},
    {"<SiteStatus Status='Enabled'/>", "status 12", "3 1 Not Found___####"},
    {"", "status 0", "0 1 ################"},
    {"<SiteStatus CatalogVersion='2.1'/>", "status 4", "3 0 Not_############"},
    {"", "status 1", "3 0 _###############"},
    {"", "status", "3 0 ################"},
    {"<SiteStatus Status='" + longName + "' CatalogVersion=''/>", "status 3",
     "0 0 _o_#############"},

    {"", "match a/C.xml c.XML|match a/b\\c.xml b\\c.xml|match b\\c.xml C.xml|match c.xml c.xml",
     "0 1"},
    {"", "match a/C.xml /C.xml|match a/C.xml C.xm|match a/b\\c.xml c.xml", "0 0"},
    {"", "match c.xml -", "17 7"},
};

TEST(Queries, AnswerAndAnswerAgain) {
  std::optional<TestDocument> document;
  for (const auto& [words, questions, answer] : rows) {
    if (!words.empty()) document.emplace(Markup(words));
    for (const std::string_view question : Split(questions)) {
      EXPECT_EQ(Ask(*document, question), answer) << words << question;
      EXPECT_EQ(Ask(*document, question), answer) << "from the element map";
    }
  }
  EXPECT_EQ(MatchXmlListToFileName(document->list, document->cookie, "c", nullptr), 17U);
  ++document->cookie;
  EXPECT_EQ(MatchXmlListToFileName(document->list, document->cookie, "c", nullptr), 3U);
  EXPECT_EQ(Ask(*document, "get B Quart Full"), "3");
}

// A path of one name that begins with the root's name means the root, whatever the occurrence, and
// a search in a root without children finds the root if its name begins with the path. A walk must
// end even then.
TEST(Queries, EndWhateverTheRootIsCalled) {
  const std::string end = "3 > 1 1 1|", empty = "0 1 P en W-1 A T v > 1 1 2|" + end,
                    all = "0 1 P en W-1 99 A T e.dll v > 1 1 2|" + end;
  const std::tuple<std::string, std::string, char> roots[] = {{"Product", end, '3'},
                                                              {"ProductPackage", end, '0'},
                                                              {"Lang", end, '3'},
                                                              {"ProductDetection", end, '3'},
                                                              {"Set", empty, '0'},
                                                              {"ExtraSettings", empty, '0'},
                                                              {"ProductPackages", all, '0'},
                                                              {"ProductDetections", all, '0'},
                                                              {"LangPackages", all, '0'},
                                                              {"FileItems", all, '0'},
                                                              {"Catalog", all, '3'},
                                                              {"SiteStatuses", all, '0'}};
  const std::string pair = " D:A:1 L:A:v:T Settings /L ", package = "P:P" + pair + "/P";
  for (const auto& [root, walked, code] : roots) {
    SCOPED_TRACE(root);
    const std::string begin = "<" + root + "> ", close = " </" + root + ">";
    EXPECT_EQ(Ask(TestDocument(Markup(begin + pair + package + close)), "walk 1"), walked);
    const TestDocument nested(Markup(begin + "<Catalog> " + package + " </Catalog>" + close));
    EXPECT_EQ(Ask(nested, "get A P T").front(), code);
    const TestDocument bare(Markup(begin + close));
    for (const auto& [question, answer] : {std::pair("walk 1", end),
                                           {"get A P T", "3"},
                                           {"files", "3 old="},
                                           {"status", "3 0 ################"}})
      EXPECT_EQ(Ask(bare, question), answer);
  }
}

} // namespace
