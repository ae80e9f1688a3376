// corekit::SetUtf8: text is UTF-8 for every function, whatever the locale.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

// As bytes of Shift_JIS, the first name ends in a lead byte that would take the separator after it.
constexpr const char* group = "\u0401\\\u65e5\u672c";
constexpr const char* source =
    "<\u0416\u0401><\u0401><\u65e5\u672c a=\"\u0141\u00f3d\u017a\"><b>\u00e9</b><b>\u4e2d</b>"
    "</\u65e5\u672c></\u0401></\u0416\u0401>";

// All that one program sees of a session: codes, texts and log lines, without what is random.
std::string Session(const char* locale, bool isUtf8) {
  constexpr const char* fileName = "\u65e5-\u00c9.xml";
  const LocaleGuard guard(locale);
  const TempFolder folder;
  const std::string folderName = folder.Path().string();
  const auto path = folder.Path() / std::filesystem::u8path(fileName);
  std::ofstream(path) << source;
  LogLines log;
  std::string seen;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0, matches = 7;
  char text[260] = "";
  const auto note = [&](std::uint32_t code) {
    seen += std::to_string(code) + ' ' + text + '\n';
    for (const std::string& line : log.Take()) seen += line + '\n';
  };
  corekit::SetUtf8(isUtf8);
  note(InitXMLList(&list));
  note(OpenXML(list, (folderName + '/' + fileName).c_str(), XmlOpenAtOnce, 0, &cookie));
  note(EnumXMLGroup(list, cookie, group, 1, text, sizeof text));
  const std::string id = text;
  note(GetXMLItem(list, cookie, id.c_str(), "\u65e5\u672c", "attribute", "a", "", text, 260));
  note(EnumXMLItem(list, cookie, id.c_str(), "b", "ELEMENT", 2, "", "", text, 260));
  note(GetXMLItem(list, cookie, id.c_str(), "b", "ELEMENT", "", "", text, 2)); // truncated
  note(SetXMLItem(list, cookie, group, "\u0142\\x", "ELEMENT", "\U0001F600"));
  note(SetXMLItem(list, cookie, group, "b", "ELEMENT", "cut \xE4\xB8"));
  note(SetXMLItem(list, cookie, "\xFF", "b", "ELEMENT", "v"));
  note(EnumXMLGroup(list, cookie, "\u0416\u0401\\\xC3", 1, text, sizeof text));
  for (const char* name : {"\u65e5-\u00c9.XML", "\u65e5-\u00c9.xMl", "\u65e5.xml"}) {
    note(MatchXmlListToFileName(list, cookie, name, &matches));
    note(matches);
  }
  std::ifstream file(path, std::ios::binary);
  seen.append(std::istreambuf_iterator<char>(file), {});
  note(CloseXML(list, cookie));
  note(EndXMLList(&list));
  corekit::SetUtf8(false);
  for (const std::string& random : {folderName, std::to_string(cookie)}) {
    for (std::size_t at = 0; (at = seen.find(random, at)) != seen.npos;)
      seen.replace(at, random.size(), "#");
  }
  return seen;
}

TEST(Utf8Mode, GivesWhatAUtf8LocaleGivesInEveryLocale) {
  const std::string narrow = Session(narrowLocale, true), id = group;
  EXPECT_EQ(Session(multibyteLocale, true), narrow);
  EXPECT_EQ(hasUtf8 ? Session("C.UTF-8", false) : narrow, narrow);
  const std::string invalid = "Failed to get the length of cut \uFFFD\uFFFD:  ";
  for (const std::string& line :
       {"0 " + id, std::string("0 \xC3"), "Inserted " + id + " into the element map.",
        invalid + std::strerror(EILSEQ)})
    EXPECT_NE(narrow.find('\n' + line + '\n'), narrow.npos) << line << '\n' << narrow;
  EXPECT_NE(Session(narrowLocale, false), narrow);
}

// A sink that switches to the other mode at the first line that it gets.
struct Switch {
  static void Receive(void* self, corekit::LogKind, const wchar_t*, const wchar_t* line) {
    auto& own = *static_cast<Switch*>(self);
    corekit::SetUtf8(own.next);
    own.lines += line;
  }
  bool next;
  std::wstring lines;
};

TEST(Utf8Mode, LastsToTheEndOfACall) {
  const LocaleGuard locale(narrowLocale);
  for (const bool isUtf8 : {true, false}) {
    const TestDocument document("<R><\u0401>v</\u0401></R>");
    Switch sink{!isUtf8, L""};
    corekit::SetLogSink(&Switch::Receive, &sink);
    corekit::SetUtf8(isUtf8);
    EXPECT_EQ(document.Group("\u0401"), isUtf8 ? "\u0401" : "Not Found");
    EXPECT_EQ(sink.lines.find(L"Inserted \u0401 into") != sink.lines.npos, isUtf8);
    corekit::SetUtf8(isUtf8);
    EXPECT_EQ(document.Text("R", "\u0401"), isUtf8 ? "v" : "Not Found");
    corekit::SetUtf8(isUtf8);
    EXPECT_EQ(document.SetText("R", "\u0401", "\u0401"), isUtf8 ? XmlSuccess : XmlFailure);
    corekit::SetLogSink(nullptr, nullptr);
    EXPECT_EQ(document.Text("R", "\u0401"), isUtf8 ? "Not Found" : "v"); // now switched
    corekit::SetUtf8(false);
  }
}

} // namespace
