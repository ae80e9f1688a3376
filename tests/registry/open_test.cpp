#include <gtest/gtest.h>

#include "registry/file_list.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

class Opening : public testing::Test {
 protected:
  Opening() {
    InitXMLList(&list);
    log.Clear();
  }
  ~Opening() override { EndXMLList(&list); }

  std::uint32_t Open(const std::string& fileName, std::uint32_t& cookie, std::int32_t encrypted = 0) {
    return OpenXML(list, fileName.c_str(), 999, encrypted, &cookie); // the encoding has no effect
  }
  // The last letters of the names in the list, whose links are checked.
  std::string Names() {
    std::string names;
    const XmlFileRecord* last = nullptr;
    for (const XmlFileRecord* it = list->head; it != nullptr; last = it, it = it->next) {
      EXPECT_EQ(it->prev, last);
      names += std::string(it->fileName).back();
    }
    EXPECT_EQ(list->tail, last);
    EXPECT_EQ(CountXmlFiles(list), names.size());
    return names;
  }

  TempFolder folder;
  LogLines log;
  XmlFileList* list = nullptr;
};

TEST_F(Opening, KnowsAFileThatIsOpen) {
  const std::string name = folder.Write("a.xml", "<Catalog><Item/></Catalog>");
  std::uint32_t cookie = 0;
  ASSERT_EQ(Open(name, cookie), XmlSuccess);
  const std::string opened = name + " (" + std::to_string(cookie) + ")";
  EXPECT_EQ(log.Take(), (Lines{"Failed to find " + name + " in the xml file list.", "Returned encoding for UTF-8",
                               "Opened " + opened + " successfully."}));
  EXPECT_EQ(log.TakeTraces(),
            (Lines{">OpenXML", ">FindXmlFile", "<FindXmlFile", ">GetXMLEncoding", "<GetXMLEncoding", "<OpenXML"}));
  const XmlFileRecord* const record = list->head;
  EXPECT_EQ(record->elementMap->Size(), 1U);
  EXPECT_EQ(record->elementMap->Find("Catalog"), &record->document->GetRoot());

  // In other letter case, as another kind, and with the file gone: the open document answers.
  std::filesystem::remove(name);
  std::uint32_t again = cookie + 1;
  EXPECT_EQ(Open(folder.Name("A.XML"), again, 1), XmlSuccess);
  EXPECT_EQ(again, cookie);
  EXPECT_EQ(record->encrypted, 0);
  EXPECT_EQ(log.Take(), (Lines{"Found " + opened + " in the xml file list.", "Opened " + opened + " successfully."}));

  EXPECT_EQ(CloseXML(list, cookie), XmlSuccess);
  EXPECT_EQ(log.Take(), (Lines{"Found " + opened + " in the xml file list.", "Closing " + opened + "..."}));
  EXPECT_EQ(CloseXML(list, cookie), XmlSuccess);
  EXPECT_EQ(log.Take(), Lines{"Failed to find " + std::to_string(cookie) + " (cookie) in the xml file list."});
  EXPECT_EQ(Open(name, again), XmlFileNotFound);
}

TEST_F(Opening, RefusesWhatItCannotRead) {
  const std::string unparsed = "unable to parse ";
  const struct {
    std::string name;
    std::uint32_t code;
    std::string reason;
    std::int32_t encrypted = 0;
  } cases[] = {
      {folder.Name("missing.xml"), XmlFileNotFound, "-44"},
      {folder.Name("no/such/folder.xml"), XmlFileNotFound, "-44"},
      {folder.Write("latin.xml", "<a>\xE9</a>") + "/below.xml", XmlFileNotFound, "-44"},
      {folder.Path().string(), XmlFileUnreadable, "-42"},
      {folder.Name("latin.xml"), XmlFileNotText, "-45"},
      {folder.Write("foreign.xml", "<?xml version='1.0' encoding='KOI9'?><a/>"), XmlFileNotText, "-45"},
      {folder.Write("plain.xml", "<a/>"), XmlFileNotText, "-46", 1},
      {folder.Write("empty.xml", ""), XmlOutOfMemory, unparsed + folder.Name("empty.xml") + "."},
      {folder.Write("cut.xml", "<a><b></b>"), XmlOutOfMemory, unparsed + folder.Name("cut.xml") + "."},
  };
  for (const auto& it : cases) {
    std::uint32_t cookie = 12345;
    EXPECT_EQ(Open(it.name, cookie, it.encrypted), it.code) << it.name;
    EXPECT_EQ(cookie, 12345U);
    EXPECT_EQ(Names(), "");
    EXPECT_EQ(log.Take().back(), "Failed to open " + it.name + ":  " + it.reason);
  }
}

TEST_F(Opening, SaysWhatIsMissing) {
  std::uint32_t cookie = 3;
  XmlFileList* other = nullptr;
  EXPECT_EQ(OpenXML(nullptr, "n", 4, 0, nullptr), XmlInvalidArgument);
  EXPECT_EQ(OpenXML(list, nullptr, 4, 0, &cookie), XmlInvalidArgument);
  EXPECT_EQ(CloseXML(nullptr, 3), XmlSuccess);
  EXPECT_EQ(InitXMLList(nullptr), XmlInvalidArgument);
  EXPECT_EQ(InitXMLList(&other), XmlSuccess);
  EXPECT_EQ(EndXMLList(&other), XmlSuccess);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(EndXMLList(nullptr), XmlSuccess);
  EXPECT_EQ(log.Take(),
            (Lines{"Failed to open n:  xml file list pointer is NULL.", "Failed to open n:  cookie pointer is NULL.",
                   "Failed to open :  file name pointer is NULL.",
                   "Failed to find 3 (cookie): xml file list pointer is NULL.",
                   "Failed to initialize the xml file list:  NULL file list pointer.",
                   "xml file list initialization successful.", "xml file list deinitialization successful.",
                   "xml file list deinitialization successful:  NULL file list pointer.",
                   "xml file list deinitialization successful."}));
}

TEST_F(Opening, RefusesNamesThatTheLocaleCannotHold) {
  std::uint32_t cookie = 1;
  const std::string name = folder.Write("root.xml", "<\u4e2d/>");
  const LocaleGuard narrow(narrowLocale);
  EXPECT_EQ(Open(name, cookie), XmlFailure);
  EXPECT_EQ(log.Take().back(), "Failed to open " + name + ":  unable to convert the name of the root element.");

  const LocaleGuard multibyte(multibyteLocale);
  EXPECT_EQ(Open("bad\xFF.xml", cookie), XmlFailure);
  EXPECT_EQ(log.Take().back(), "Failed to open bad\uFFFD.xml:  unable to convert the file name.");
  EXPECT_EQ(Names(), "");
  EXPECT_EQ(Open(name, cookie), XmlSuccess);
}

TEST_F(Opening, KeepsAtMost259BytesOfAName) {
  folder.Write("x", "<a/>");
  std::string longName = folder.Path().generic_string();
  while (longName.size() < 300) longName += "/.";
  std::uint32_t cookie = 0;
  EXPECT_EQ(Open(longName + "/x", cookie), XmlSuccess);
  EXPECT_EQ(list->head->fileName, longName.substr(0, 259));
  EXPECT_EQ(Open(longName + "/x", cookie), XmlSuccess);
  EXPECT_EQ(CountXmlFiles(list), 2U) << "found by a name that was cut";
}

TEST_F(Opening, KeepsTheOrderWhateverCloses) {
  std::uint32_t cookies[6];
  for (std::size_t i = 0; i < 6; ++i) {
    ASSERT_EQ(Open(folder.Write(std::string(1, static_cast<char>('a' + i)), "<a><b/></a>"), cookies[i]), XmlSuccess);
  }
  list->head->next->cookie = cookies[2];
  const std::pair<std::size_t, const char*> steps[] = {{1, "abcdef"}, {2, "acdef"}, {5, "acde"},
                                                       {0, "cde"},    {3, "ce"},    {2, "e"}};
  for (const auto& [closed, left] : steps) { // of two with one cookie, the older; the last; the first
    CloseXML(list, cookies[closed]);
    EXPECT_EQ(Names(), left);
  }
  ASSERT_EQ(Open(folder.Name("a"), cookies[0]), XmlSuccess);
  log.Clear();
  EXPECT_EQ(EndXMLList(&list), XmlSuccess); // with two documents still open
  EXPECT_EQ(log.TakeTraces(), (Lines{">EndXMLList", ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory",
                                     ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory", "<EndXMLList"}));
}
