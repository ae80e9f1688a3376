#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "registry/file_list.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

using Lines = std::vector<std::string>;

namespace {

class Opening : public testing::Test {
 protected:
  Opening() {
    InitXMLList(&list);
    log.Clear();
  }
  ~Opening() override { EndXMLList(&list); }

  std::uint32_t Open(const std::string& name, std::uint32_t& cookie, std::int32_t encrypted = 0) {
    return OpenXML(list, name.c_str(), 999, encrypted, &cookie);
  }
  // The lines of Tarvik itself.
  Lines Take() {
    Lines lines = log.Take();
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("ostrumxml: "); });
    return lines;
  }

  TempFolder folder;
  LogLines log;
  XmlFileList* list = nullptr;
};

std::string Number(std::uint32_t number) { return std::to_string(number); }

} // namespace

TEST_F(Opening, KnowsAFileThatIsOpen) {
  const std::string name = folder.Write("a.xml", "<Catalog><Item/></Catalog>");
  std::uint32_t cookie = 0;
  ASSERT_EQ(XmlSuccess, Open(name, cookie));
  const std::string found = name + " (" + Number(cookie) + ")";
  EXPECT_EQ((Lines{"Failed to find " + name + " in the xml file list.", "Returned encoding for UTF-8",
                   "Opened " + found + " successfully."}),
            Take());
  EXPECT_EQ((Lines{">OpenXML", ">FindXmlFile", "<FindXmlFile", ">GetXMLEncoding", "<GetXMLEncoding", "<OpenXML"}),
            log.TakeTraces());
  const XmlFileRecord* const record = XmlFileAt(list, 0);
  ASSERT_EQ(1u, record->elementMap->Size());
  EXPECT_EQ(&record->document->GetRoot(), FindInElementMap(*record->elementMap, "Catalog"));

  // In other letter case, as another kind, and with the file gone: the open document answers.
  std::filesystem::remove(name);
  std::string otherCase = name;
  otherCase.replace(name.size() - 5, 5, "A.XML");
  std::uint32_t again = cookie + 1;
  EXPECT_EQ(XmlSuccess, Open(otherCase, again, 1));
  EXPECT_EQ(cookie, again);
  EXPECT_EQ(0, record->encrypted);
  EXPECT_EQ((Lines{"Found " + found + " in the xml file list.", "Opened " + found + " successfully."}), Take());

  EXPECT_EQ(XmlSuccess, CloseXML(list, cookie));
  EXPECT_EQ((Lines{"Found " + found + " in the xml file list.", "Closing " + found + "..."}), Take());
  EXPECT_EQ(XmlSuccess, CloseXML(list, cookie));
  EXPECT_EQ((Lines{"Failed to find " + Number(cookie) + " (cookie) in the xml file list."}), Take());
  EXPECT_EQ(XmlFileNotFound, Open(name, again));
}

TEST_F(Opening, RefusesWhatItCannotRead) {
  const std::string utf16 = "\xFF\xFE";
  const struct {
    std::string name;
    std::uint32_t code;
    std::string reason; // behind "Failed to open " + the name + ":  "
    std::int32_t encrypted;
  } cases[] = {
      {folder.Name("missing.xml"), XmlFileNotFound, "-44", 0},
      {folder.Name("no/such/folder.xml"), XmlFileNotFound, "-44", 0},
      {folder.Path().string(), XmlFileUnreadable, "-42", 0},
      {folder.Write("latin.xml", "<a>\xE9</a>"), XmlFileNotText, "-45", 0},
      {folder.Write("odd.xml", utf16 + "<"), XmlFileNotText, "-45", 0},
      {folder.Write("foreign.xml", "<?xml version='1.0' encoding='KOI8-R'?><a/>"), XmlFileNotText, "-45", 0},
      {folder.Write("plain.xml", "<a/>"), XmlFileNotText, "-46", 1},
      {folder.Write("empty.xml", ""), XmlOutOfMemory, "unable to parse", 0},
      {folder.Write("cut.xml", "<a><b></b>"), XmlOutOfMemory, "unable to parse", 0},
      {folder.Write("text.xml", "no markup"), XmlOutOfMemory, "unable to parse", 0},
  };
  for (const auto& it : cases) {
    std::uint32_t cookie = 12345;
    EXPECT_EQ(it.code, Open(it.name, cookie, it.encrypted)) << it.name;
    EXPECT_EQ(12345u, cookie);
    EXPECT_EQ(0u, CountXmlFiles(list));
    const std::string reason = it.reason == "unable to parse" ? it.reason + " " + it.name + "." : it.reason;
    EXPECT_EQ("Failed to open " + it.name + ":  " + reason, Take().back());
  }
}

TEST_F(Opening, NamesEveryArgumentThatIsMissing) {
  std::uint32_t cookie = 1;
  EXPECT_EQ(XmlInvalidArgument, OpenXML(nullptr, "n", 4, 0, nullptr));
  EXPECT_EQ(XmlInvalidArgument, OpenXML(list, nullptr, 4, 0, &cookie));
  EXPECT_EQ((Lines{"Failed to open n:  xml file list pointer is NULL.", "Failed to open n:  cookie pointer is NULL.",
                   "Failed to open :  file name pointer is NULL."}),
            Take());
  EXPECT_EQ(XmlSuccess, CloseXML(nullptr, 3));
  EXPECT_EQ((Lines{"Failed to find 3 (cookie): xml file list pointer is NULL."}), Take());
}

TEST_F(Opening, RefusesNamesThatTheLocaleCannotHold) {
  std::uint32_t cookie = 1;
  const std::string name = folder.Write("root.xml", "<\u00e9/>");
  const LocaleGuard c("C");
  EXPECT_EQ(XmlFailure, Open(name, cookie));
  EXPECT_EQ("Failed to open " + name + ":  unable to convert the name of the root element.", Take().back());

  const LocaleGuard utf8("C.utf8");
  EXPECT_EQ(XmlFailure, Open("bad\xFF.xml", cookie));
  EXPECT_EQ("Failed to open bad\uFFFD.xml:  unable to convert the file name.", Take().back());
  EXPECT_EQ(0u, CountXmlFiles(list));
  EXPECT_EQ(XmlSuccess, Open(name, cookie));
}

TEST_F(Opening, KeepsAtMost259BytesOfAName) {
  std::string longName = folder.Write("x.xml", "<a/>");
  while (longName.size() < 300) longName.insert(longName.rfind('/'), "/.");
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  EXPECT_EQ(XmlSuccess, Open(longName, first));
  EXPECT_EQ(XmlSuccess, Open(longName, second));
  EXPECT_EQ(2u, CountXmlFiles(list));
  EXPECT_EQ(longName.substr(0, 259), XmlFileAt(list, 0)->fileName);
}

TEST_F(Opening, EndsWithDocumentsStillOpen) {
  std::uint32_t cookies[3];
  for (std::uint32_t& cookie : cookies) {
    const std::string file = "f" + Number(static_cast<std::uint32_t>(&cookie - cookies));
    ASSERT_EQ(XmlSuccess, Open(folder.Write(file, "<a><b/></a>"), cookie));
  }
  CloseXML(list, cookies[1]);
  EXPECT_EQ(cookies[0], XmlFileAt(list, 0)->cookie);
  EXPECT_EQ(cookies[2], XmlFileAt(list, 1)->cookie);
  log.Clear();
  EXPECT_EQ(XmlSuccess, EndXMLList(&list));
  EXPECT_EQ((Lines{">EndXMLList", ">ReleaseGlobalMapMemory", "<ReleaseGlobalMapMemory", ">ReleaseGlobalMapMemory",
                   "<ReleaseGlobalMapMemory", "<EndXMLList"}),
            log.TakeTraces());
}
