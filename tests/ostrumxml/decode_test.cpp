#include <gtest/gtest.h>

#include "host/ostrumxml/read/decode.h"
#include "support/locale_guard.h"
#include "support/text.h"

namespace {

using namespace std::string_literals;

// The text, or why it cannot be decoded.
std::string Decode(std::string bytes) {
  std::string utf8;
  auto encoding = Ostrum::UTF_8;
  const auto failure = Ostrum::DecodeFile(std::move(bytes), utf8, encoding);
  return failure ? failure->reason : utf8;
}

std::string Declared(std::string_view encoding, const std::string& text) {
  return "<?xml version='1.0' encoding=\"" + std::string(encoding) + "\"?>\r\n<!-- --><r>" + text +
         "</r>";
}

std::string Utf16(std::u16string_view text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    for (const int shift : {bigEndian ? 8 : 0, bigEndian ? 0 : 8})
      bytes += static_cast<char>(unit >> shift);
  }
  return bytes;
}

TEST(Decode, ConvertsWhatTheDeclarationNames) {
  const LocaleGuard other(multibyteLocale);
  const struct {
    const char* encodings;
    std::string bytes, text;
  } rows[] = {
      {"us-ascii", "&#233;", "&#233;"},
      {"iso-8859-1", "\xE9\x85", "\u00E9\u0085"},
      {"Windows-1252", "\x80\xE9", "\u20AC\u00E9"},
      {"windows-1255", "\xF9\xC8\xED", "\u05E9\u05B8\u05DD"}, // glibc would join the first two
      {"KOI8-R", "\xF0\xD2", "\u041F\u0440"},
      {"Shift_JIS|shift-jis|SJIS|x-sjis|MS_Kanji|csShiftJIS|Windows-31J|csWindows31J|MS932|"
       "sjis-win|sjis-open",
       "\x83\\ \\~\xB1\xED\x40", "\u30BD \\~\uFF71\u7E8A"},
      {"EUC-JP", "\xA5\xBD\x8E\xB1\x8F\xB0\xA1", "\u30BD\uFF71\u4E02"},
      {"GB2312|csGB2312|CN-GB|EUC-CN|EUCCN", "\x81\x40\xC4\xE3", "\u4E02\u4F60"},
      {"EUC-KR|EUCKR|csEUCKR|KS_C_5601-1987", "\x81\x41\xC7\xD1", "\uAC02\uD55C"},
      {"Big5", "\xA4\x5C", "\u4E48"},
      {"gb18030", "\x81\x40\x95\x32\x82\x36", "\u4E02\U00020000"},
      {"GBK", Repeat("\xC4\xE3", 3000), Repeat("\u4F60", 3000)}, // longer than the decoder's buffer
  };
  for (const auto& [encodings, bytes, text] : rows) {
    if (encodings == "gb18030"s && !hasUtf8) continue; // Wine lacks it
    for (const std::string_view encoding : Split(encodings))
      EXPECT_EQ(Decode(Declared(encoding, bytes)), Declared("UTF-8", text)) << encoding;
  }
  for (const bool bigEndian : {true, false}) {
    EXPECT_EQ(Decode(Utf16(u"\xFEFF<?xml encoding='utf-16'?>\u00E9\U0001F600", bigEndian)),
              "<?xml encoding='UTF-8'?>\u00E9\U0001F600");
  }
  for (const char* same : {"\xEF\xBB\xBF<?xml encoding='utf8' ?>", "<?xml encoding='a/b'?>", ""})
    EXPECT_EQ(Decode(same), same);
}

TEST(Decode, SaysWhyATextIsRefused) {
  const std::string zeros = "UTF-32, and UTF-16 without a byte-order mark, are not supported";
  const std::string contradicts = "the text is not in the encoding that its declaration names: ";
  std::vector<std::pair<std::string, std::string>> cases = {
      {Declared("EUC-JP", "").substr(0, 40) + "\x8F\xB0", "invalid EUC-JP at byte offset 40"},
      {Declared("UTF-16", ""), contradicts + "UTF-16"},
      {"\xEF\xBB\xBF" + Declared("KOI8-R", ""), contradicts + "KOI8-R"},
      {Utf16(u"<r/>", false), zeros},
      {"\xFF\xFE\0\0<\0\0\0"s, zeros},
      {Utf16(u"\xFEFF<r>\xD83D</r>", false), "invalid UTF-16 at byte offset 8"},
      {Utf16(u"\xFEFF<r>\xDE00</r>", false), "invalid UTF-16 at byte offset 8"},
      {Utf16(u"\xFEFF<r/>", false) + " ", "invalid UTF-16 at byte offset 10"},
  };
  for (const std::string unknown : {"none", "ISO-2022-JP", "UTF-7", "IBM037", "CP1"})
    cases.emplace_back(Declared(unknown, ""), "unsupported encoding " + unknown);
  for (const std::string& row : {"cp1252 \x81"s, "cp1253 \xAA"s, "EUC-JP \x85"s, "EUC-JP \xA4<"s,
                                 "x-sjis \x83"s, "x-sjis \xFD"s}) {
    const std::string encoding = row.substr(0, 6), text = Declared(encoding, row.substr(7));
    cases.emplace_back(
        text, "invalid " + encoding + " at byte offset " + std::to_string(text.find("<r>") + 3));
  }
  for (const auto& [bytes, reason] : cases) EXPECT_EQ(Decode(bytes), reason);
}

TEST(Decode, ChecksUtf8WhereverASequenceStands) {
  const std::string valid =
      "\x7F\xC2\x80\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
  for (std::size_t before = 0; before < 70; ++before) {
    for (const std::string& end : {""s, std::string(70 - before, 'a')}) {
      const std::string start = std::string(before, 'a') + "\u20AC";
      EXPECT_EQ(Decode(start + valid + end), start + valid + end);
      for (const std::string_view invalid :
           Split("\x80|\xC1\xBF|\xC2|\xE0\x9F\xBF|\xE6\x97|\xED\xA0\x80|\xF0\x8F\xBF\xBF|"
                 "\xF0\x9F\x98|\xF4\x90\x80\x80|\xF5\x80\x80\x80")) {
        EXPECT_EQ(Decode(start + std::string(invalid) + end),
                  "invalid UTF-8 at byte offset " + std::to_string(start.size()));
      }
    }
  }
}

} // namespace
