#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

class Opening : public testing::Test {
 protected:
  Opening() {
    InitXMLList(&list);
    log.TakeTraces();
  }
  ~Opening() override { EndXMLList(&list); }

  std::uint32_t Open(const std::string& fileName, std::int32_t encrypted = 0) {
    log.Take();
    return OpenXML(list, fileName.c_str(), XmlOpenAtOnce, encrypted, &cookie);
  }
  // The last letters of the names in the list.
  std::string Names() {
    std::string names;
    for (const XmlFileRecord& it : list->files) names += std::string(it.fileName).back();
    return names;
  }

  TempFolder folder;
  LogLines log;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 12345;
};

TEST_F(Opening, KnowsAFileThatIsOpen) {
  const std::string name = folder.Write("a.xml", "<Catalog><Item/></Catalog>");
  ASSERT_EQ(Open(name), XmlSuccess);
  const std::uint32_t first = cookie;
  const std::string opened = name + " (" + std::to_string(first) + ")";
  EXPECT_EQ(log.Take(),
            (Lines{"Failed to find " + name + " in the xml file list.",
                   "Returned encoding for UTF-8", "Opened " + opened + " successfully."}));
  EXPECT_EQ(log.TakeTraces(), (Lines{">OpenXML", ">FindXmlFile", "<FindXmlFile", ">GetXMLEncoding",
                                     "<GetXMLEncoding", "<OpenXML"}));
  EXPECT_EQ(list->files.front().elementMap->Find("Catalog"),
            list->files.front().document->GetRoot());

  // With other case, as encrypted, and with the file gone: the open document is found.
  std::filesystem::remove(name);
  cookie = 0;
  EXPECT_EQ(Open(folder.Name("A.XML"), 1), XmlSuccess);
  EXPECT_EQ(cookie, first);
  EXPECT_EQ(log.Take(), (Lines{"Found " + opened + " in the xml file list.",
                               "Opened " + opened + " successfully."}));

  EXPECT_EQ(CloseXML(list, cookie), XmlSuccess);
  EXPECT_EQ(log.Take(),
            (Lines{"Found " + opened + " in the xml file list.", "Closing " + opened + "..."}));
  EXPECT_EQ(CloseXML(list, cookie), XmlSuccess);
  EXPECT_EQ(log.Take(),
            Lines{"Failed to find " + std::to_string(cookie) + " (cookie) in the xml file list."});
  EXPECT_EQ(Open(name), XmlFileNotFound);
}

TEST_F(Opening, WaitsOnceForEachFreshOpening) {
  const std::string name = folder.Write("a.xml", "<a/>");
  const auto secondsToOpen = [](const std::string& file, std::uint32_t encoding, int times) {
    using Clock = std::chrono::steady_clock;
    XmlFileList* own = nullptr;
    std::uint32_t opened = 0;
    InitXMLList(&own);
    const Clock::time_point begin = Clock::now();
    for (int i = 0; i < times; ++i) OpenXML(own, file.c_str(), encoding, 0, &opened);
    const std::chrono::duration<double> taken = Clock::now() - begin;
    EndXMLList(&own);
    return taken.count();
  };
  corekit::SetLogSink(nullptr, nullptr);    // the fixture's serves one thread
  std::vector<std::future<double>> waiting; // at the same time, since each takes a second
  for (const std::uint32_t encoding : {0U, 4U, 0x7FFFFFFFU, 0x80000001U, 0xC0000000U, 0xFFFFFFFFU})
    waiting.push_back(std::async(std::launch::async, secondsToOpen, name, encoding, 2));
  for (std::future<double>& seconds : waiting) {
    const double taken = seconds.get();
    EXPECT_GE(taken, 1.0);
    EXPECT_LT(taken, 1.9); // the second opening of the same list does not wait
  }
  EXPECT_LT(secondsToOpen(name, XmlOpenAtOnce, 2), 0.9);
  EXPECT_LT(secondsToOpen(folder.Name("none.xml"), 0, 1), 0.9);
  EXPECT_LT(secondsToOpen(folder.Write("cut.xml", "<a>"), 0, 1), 0.9);
}

TEST_F(Opening, RefusesWhatItCannotReadOrConvert) {
  const std::string latin = folder.Write("latin.xml", "<a>\xE9</a>"),
                    cut = folder.Write("cut.xml", "<a>\n<b>"),
                    empty = folder.Write("empty.xml", ""),
                    other = folder.Write("other.xml", "<?xml version='1.0' encoding='none'?><a/>"),
                    root = folder.Write("root.xml", "<\u4e2d/>"), unparsed = "unable to parse ";
  struct Row {
    std::string name;
    int encrypted;
    std::uint32_t code;
    std::string line, reason; // the reason after the name if the line is a number
    const char* locale = "C";
  };
  for (const Row& row :
       {Row{folder.Name("no/such/folder.xml"), 0, XmlFileNotFound, "-44", "does not exist"},
        Row{latin + "/below.xml", 0, XmlFileNotFound, "-44", "does not exist"},
        Row{folder.Path().string(), 0, XmlFileUnreadable, "-42", "is a directory"},
        Row{latin, 0, XmlFileNotText, "-45", "invalid UTF-8 at byte offset 3"},
        Row{other, 0, XmlFileNotText, "-45", "unsupported encoding none"},
        Row{latin, 1, XmlFileNotText, "-46",
            "is damaged, encrypted with another key, or not encrypted"},
        Row{empty, 0, XmlOutOfMemory, unparsed + empty + ".", "1:1: no element found"},
        Row{cut, 0, XmlOutOfMemory, unparsed + cut + ".", "2:4: no element found"},
        Row{root, 0, XmlFailure, "unable to convert the name of the root element.",
            "the locale's character set cannot represent the root element's name", narrowLocale},
        Row{"bad\xFF.xml", 0, XmlFailure, "unable to convert the file name.",
            "the file name is not valid text in the locale's character set", multibyteLocale}}) {
    const LocaleGuard locale(row.locale);
    EXPECT_EQ(Open(row.name, row.encrypted), row.code) << row.name;
    EXPECT_EQ(cookie, 12345U);
    EXPECT_EQ(Names(), "");
    const Lines lines = log.Take();
    const std::string shown = row.name == "bad\xFF.xml" ? "bad\uFFFD.xml" : row.name;
    EXPECT_EQ(lines.back(), "Failed to open " + shown + ":  " + row.line);
    EXPECT_EQ(Reason(lines), (row.line[0] == '-' ? row.name + ": " : "") + row.reason);
  }
  const LocaleGuard multibyte(multibyteLocale);
  EXPECT_EQ(Open(root), XmlSuccess);
}

TEST_F(Opening, SaysWhatIsMissing) {
  XmlFileList* other = nullptr;
  log.Take();
  EXPECT_EQ(OpenXML(nullptr, "n", 4, 0, nullptr), XmlInvalidArgument);
  EXPECT_EQ(OpenXML(list, nullptr, 4, 0, &cookie), XmlInvalidArgument);
  EXPECT_EQ(CloseXML(nullptr, 3), XmlSuccess);
  EXPECT_EQ(InitXMLList(nullptr), XmlInvalidArgument);
  EXPECT_EQ(InitXMLList(&other), XmlSuccess);
  EXPECT_EQ(EndXMLList(&other), XmlSuccess);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(EndXMLList(nullptr), XmlSuccess);
  const std::string begin = "Failed to open ", ended = "xml file list deinitialization successful";
  const std::string reason = "error: ostrumxml: a pointer that is needed is null";
  EXPECT_EQ(log.Take(), (Lines{begin + "n:  xml file list pointer is NULL.",
                               begin + "n:  cookie pointer is NULL.", reason,
                               begin + ":  file name pointer is NULL.", reason,
                               "Failed to find 3 (cookie): xml file list pointer is NULL.",
                               "Failed to initialize the xml file list:  NULL file list pointer.",
                               "xml file list initialization successful.", ended + ".",
                               ended + ":  NULL file list pointer.", ended + "."}));
}

TEST_F(Opening, KeepsTheOrderWhateverCloses) {
  std::vector<std::uint32_t> cookies;
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    ASSERT_EQ(Open(folder.Write(name, "<a/>")), XmlSuccess);
    cookies.push_back(cookie);
  }
  std::next(list->files.begin())->cookie =
      cookies[2]; // if two have the same cookie, the older is closed
  for (const auto& [closed, left] :
       {std::pair(1U, "abcdef"), {2U, "acdef"}, {5U, "acde"}, {0U, "cde"}, {3U, "ce"}}) {
    CloseXML(list, cookies[closed]);
    EXPECT_EQ(Names(), left);
  }
  log.TakeTraces();
  EXPECT_EQ(EndXMLList(&list), XmlSuccess); // with two documents still open
  EXPECT_EQ(log.TakeTraces(),
            (Lines{">EndXMLList", ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory",
                   ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory", "<EndXMLList"}));
}
