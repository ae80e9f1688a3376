#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>

#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

class Opening : public testing::Test {
 protected:
  Opening() { InitXMLList(&list); }
  ~Opening() override { EndXMLList(&list); }

  // The code and lines of a call, shortened: @ is the file, # the cookie, ! begins a reason.
  std::string Seen(std::uint32_t code, const std::string& file = {}) {
    std::string seen = std::to_string(code);
    for (const std::string& line : log.Take()) seen += '|' + line;
    for (const auto& [text, shown] :
         {std::pair(std::string("\uFFFD"), "\xFF"),
          {folder.Name("") + file, "@"},
          {std::to_string(cookie), "#"},
          {"|Failed to find @ in the xml file list.|Returned encoding for UTF-8|", " new|"},
          {"|Found @ (#) in the xml file list.|", " found|"},
          {"|error: ostrumxml: ", "!"},
          {"|Failed to open @:  ", "->"},
          {std::strerror(EILSEQ), "EILSEQ"}}) {
      for (std::size_t at = 0; (at = seen.find(text, at)) != seen.npos;)
        seen.replace(at, text.size(), shown);
    }
    return seen;
  }
  std::string Open(const std::string& file, std::int32_t encrypted = 0) {
    log.Take();
    log.TakeTraces();
    return Seen(OpenXML(list, (folder.Name("") + file).c_str(), XmlOpenAtOnce, encrypted, &cookie),
                file);
  }

  TempFolder folder;
  LogLines log;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 12345;
};

TEST_F(Opening, RefusesWhatItCannotReadOrConvert) {
  struct Row {
    const char *file, *text; // null: not written
    const char* seen;
    int encrypted = 0;
    const char* locale = "C";
  };
  const Row rows[] = {
      {"no/such/folder", nullptr, "5 new!@: does not exist->-44"},
      {"", nullptr, "42 new!@: is a directory->-42"},
      {"a", "<a>\xE9</a>", "43 new!@: invalid UTF-8 at byte offset 3->-45"},
      {"a/below", nullptr, "5 new!@: does not exist->-44"},
      {"a", "<?xml version='1.0' encoding='none'?><a/>",
       "43 new!@: unsupported encoding none->-45"},
      {"a", "<a/>", "43 new!@: is damaged, encrypted with another key, or not encrypted->-46", 1},
      {"a", "", "1 new!1:1: no element found->unable to parse @."},
      {"a", "<a>\n<b>", "1 new!2:4: no element found->unable to parse @."},
      {"a", "<\u4e2d/>",
       "34 new|Failed to get the length of \u4e2d:  EILSEQ!the locale's character set cannot "
       "represent the root element's name->unable to convert the name of the root element.",
       0, narrowLocale},
      {"\xFF", nullptr,
       "34 new|Failed to get the length of @:  EILSEQ!the file name is not valid text in the "
       "locale's character set->unable to convert the file name.",
       0, multibyteLocale}};
  for (const auto& [file, text, seen, encrypted, locale] : rows) {
    const LocaleGuard guard(locale);
    if (text != nullptr) folder.Write(file, text);
    EXPECT_EQ(Open(file, encrypted), seen);
    EXPECT_TRUE(cookie == 12345 && list->files.empty()) << file;
  }
  const LocaleGuard multibyte(multibyteLocale);
  EXPECT_EQ(Open("a"), "0 new|Opened @ (#) successfully.");
}

TEST_F(Opening, SaysWhatIsMissing) {
  XmlFileList* other = nullptr;
  const std::string ended = "|xml file list deinitialization successful";
  log.Take();
  const std::pair<std::string, std::string> rows[] = {
      {Seen(OpenXML(nullptr, "n", 4, 0, nullptr)),
       "17|Failed to open n:  xml file list pointer is NULL.|Failed to open n:  cookie pointer is "
       "NULL.!a pointer that is needed is null"},
      {Seen(OpenXML(list, nullptr, 4, 0, &cookie)),
       "17|Failed to open :  file name pointer is NULL.!a pointer that is needed is null"},
      {Seen(CloseXML(nullptr, 3)), "0|Failed to find 3 (cookie): xml file list pointer is NULL."},
      {Seen(InitXMLList(nullptr)),
       "17|Failed to initialize the xml file list:  NULL file list pointer."},
      {Seen(InitXMLList(&other)), "0|xml file list initialization successful."},
      {Seen(EndXMLList(&other)), "0" + ended + '.'},
      {Seen(EndXMLList(nullptr)), "0" + ended + ":  NULL file list pointer." + ended + '.'}};
  for (const auto& [seen, expected] : rows) EXPECT_EQ(seen, expected);
  EXPECT_EQ(other, nullptr);
}

TEST_F(Opening, KnowsItsFilesInOrderUntilTheyAreClosed) {
  std::vector<std::uint32_t> cookies;
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    folder.Write(name, "<Catalog><Item/></Catalog>");
    EXPECT_EQ(Open(name), "0 new|Opened @ (#) successfully.");
    cookies.push_back(cookie);
  }
  EXPECT_EQ(log.TakeTraces(), (Lines{">OpenXML", ">FindXmlFile", "<FindXmlFile", ">GetXMLEncoding",
                                     "<GetXMLEncoding", "<OpenXML"}));
  const XmlFileRecord& first = list->files.front();
  EXPECT_EQ(first.elementMap->Find("Catalog"), first.document->GetRoot());
  // With other case, as encrypted, and with the file gone: the open document is found.
  std::filesystem::remove(folder.Name("a"));
  const std::uint32_t code = OpenXML(list, folder.Name("A").c_str(), 0, 1, &cookie);
  EXPECT_EQ(Seen(code, "a"), "0 found|Opened @ (#) successfully.");
  EXPECT_EQ(cookie, cookies[0]);
  EXPECT_EQ(Seen(CloseXML(list, cookie), "a"), "0 found|Closing @ (#)...");
  EXPECT_EQ(Seen(CloseXML(list, cookie)), "0|Failed to find # (cookie) in the xml file list.");
  EXPECT_EQ(Open("a").substr(0, 5), "5 new");

  list->files.front().cookie = cookies[2]; // of two with one cookie, the older is closed
  for (const auto& [closed, left] :
       {std::pair(1U, "bcdef"), {2U, "cdef"}, {5U, "cde"}, {3U, "ce"}}) {
    CloseXML(list, cookies[closed]);
    std::string names;
    for (const XmlFileRecord& it : list->files) names += std::string(it.fileName).back();
    EXPECT_EQ(names, left);
  }
  log.TakeTraces();
  EXPECT_EQ(EndXMLList(&list), XmlSuccess); // with two documents still open
  EXPECT_EQ(log.TakeTraces(),
            (Lines{">EndXMLList", ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory",
                   ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory", "<EndXMLList"}));
}

TEST(FreshOpening, WaitsASecondIfItSucceeds) {
  const auto secondsToOpenTwice = [](const std::string& file, std::uint32_t encoding) {
    XmlFileList* list = nullptr;
    std::uint32_t cookie = 0;
    InitXMLList(&list);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 2; ++i) OpenXML(list, file.c_str(), encoding, 0, &cookie);
    const auto taken = std::chrono::steady_clock::now() - begin;
    EndXMLList(&list);
    return std::int64_t{taken / std::chrono::seconds(1)};
  };
  const TempFolder folder;
  const std::string whole = folder.Write("whole", "<a/>"), cut = folder.Write("cut", "<a>");
  std::vector<std::future<std::int64_t>> opening; // at the same time, since most take a second
  for (const auto& [file, encoding] :
       {std::pair(whole, 0U), {whole, 4U}, {whole, 0x80000001U}, {whole, XmlOpenAtOnce}, {cut, 0U}})
    opening.push_back(std::async(std::launch::async, secondsToOpenTwice, file, encoding));
  std::string seconds;
  for (std::future<std::int64_t>& each : opening) seconds += std::to_string(each.get());
  EXPECT_EQ(seconds, "11100");
}
