// corekit::SetUtf8: text is UTF-8 for every function, whatever the locale.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

using Lines = std::vector<std::string>;

// As bytes of Shift_JIS, the first name ends in a lead byte that would take the separator after it.
constexpr const char* group = "\u0401\\\u65e5\u672c";
constexpr const char* source =
    "<\u0416\u0401><\u0401><\u65e5\u672c a=\"\u0141\u00f3d\u017a\"><b>\u00e9</b><b>\u4e2d</b>"
    "</\u65e5\u672c></\u0401></\u0416\u0401>";

// All that one program sees of a session: codes, texts and log lines, without what is random.
Lines Session(const char* locale, bool isUtf8) {
  constexpr const char* fileName = "\u65e5-\u00c9.xml";
  const LocaleGuard guard(locale);
  const TempFolder folder;
  const auto path = folder.Path() / std::filesystem::u8path(fileName);
  std::ofstream(path) << source;
  LogLines log;
  Lines seen;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  const auto note = [&](std::uint32_t code, const char* text = "") {
    seen.push_back(std::to_string(code) + " " + text);
    for (std::string line : log.Take()) {
      for (const std::string& random : {folder.Path().string(), std::to_string(cookie)}) {
        const std::size_t at = line.find(random);
        if (at != std::string::npos) line.replace(at, random.size(), "#");
      }
      seen.push_back(line);
    }
  };
  corekit::SetUtf8(isUtf8);
  note(InitXMLList(&list));
  note(OpenXML(list, (folder.Path().string() + "/" + fileName).c_str(), XmlOpenAtOnce, 0, &cookie));
  char text[260] = "";
  note(EnumXMLGroup(list, cookie, group, 1, text, sizeof text), text);
  const std::string id = text;
  note(GetXMLItem(list, cookie, id.c_str(), "\u65e5\u672c", "attribute", "a", "", text, 260), text);
  note(EnumXMLItem(list, cookie, id.c_str(), "b", "ELEMENT", 2, "", "", text, 260), text);
  note(GetXMLItem(list, cookie, id.c_str(), "b", "ELEMENT", "", "", text, 2), text); // truncated
  note(SetXMLItem(list, cookie, group, "\u0142\\x", "ELEMENT", "\U0001F600"));
  note(SetXMLItem(list, cookie, group, "b", "ELEMENT", "cut \xE4\xB8"));
  note(SetXMLItem(list, cookie, "\xFF", "b", "ELEMENT", "v"));
  text[0] = '\0';
  note(EnumXMLGroup(list, cookie, "\u0416\u0401\\\xC3", 1, text, sizeof text), text);
  std::uint32_t matches = 7;
  for (const char* name : {"\u65e5-\u00c9.XML", "\u65e5-\u00c9.xMl", "\u65e5.xml"}) {
    note(MatchXmlListToFileName(list, cookie, name, &matches));
    note(matches);
  }
  std::ifstream file(path, std::ios::binary);
  std::getline(file, seen.emplace_back(), '\0');
  note(CloseXML(list, cookie));
  note(EndXMLList(&list));
  corekit::SetUtf8(false);
  return seen;
}

bool Has(const Lines& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST(Utf8Mode, GivesWhatAUtf8LocaleGivesInEveryLocale) {
  const Lines narrow = Session(narrowLocale, true);
  EXPECT_EQ(Session(multibyteLocale, true), narrow);
  if (hasUtf8) {
    EXPECT_EQ(Session("C.UTF-8", false), narrow);
  }
  const std::string id = group, truncated = "0 \xC3";
  for (const std::string& seen :
       {"0 " + id, std::string("0 \u0141\u00f3d\u017a"), std::string("0 \u4e2d"), truncated,
        "Inserted " + id + " into the element map.", std::string("1 "),
        std::string("Failed to get the length of cut \uFFFD\uFFFD:  ") + std::strerror(EILSEQ)})
    EXPECT_TRUE(Has(narrow, seen)) << seen << '\n' << testing::PrintToString(narrow);
  EXPECT_NE(Session(narrowLocale, false), narrow);
}

// A sink that switches to the other mode at the first line that it gets.
struct Switch {
  static void Receive(void* self, corekit::LogKind kind, const wchar_t*, const wchar_t* line) {
    auto& own = *static_cast<Switch*>(self);
    corekit::SetUtf8(own.next);
    std::string utf8;
    if (kind == corekit::LogKind::Detail && Ostrum::Utf8FromWide(line, utf8))
      own.lines.push_back(utf8);
  }
  bool next;
  Lines lines;
};

TEST(Utf8Mode, LastsToTheEndOfACall) {
  const LocaleGuard locale(narrowLocale);
  for (const bool isUtf8 : {true, false}) {
    const TestDocument document("<R><\u0401>v</\u0401></R>");
    Switch sink{!isUtf8, {}};
    const auto during = [&](auto call) {
      corekit::SetUtf8(isUtf8);
      corekit::SetLogSink(&Switch::Receive, &sink);
      const auto answer = call();
      corekit::SetLogSink(nullptr, nullptr);
      return answer;
    };
    EXPECT_EQ(during([&] { return document.Group("\u0401"); }), isUtf8 ? "\u0401" : "Not Found");
    EXPECT_EQ(Has(sink.lines, "Inserted \u0401 into the element map."), isUtf8);
    EXPECT_EQ(during([&] { return document.Text("R", "\u0401"); }), isUtf8 ? "v" : "Not Found");
    EXPECT_EQ(during([&] { return document.SetText("R", "\u0401", "\u0401"); }),
              isUtf8 ? XmlSuccess : XmlFailure);
    EXPECT_EQ(document.Text("R", "\u0401"), isUtf8 ? "Not Found" : "v"); // now switched
    corekit::SetUtf8(false);
  }
}

} // namespace
