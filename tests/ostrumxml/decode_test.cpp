#include <gtest/gtest.h>

#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/read/read_failure.h"
#include "support/locale_guard.h"
#include "support/text.h"

namespace {

using namespace std::string_literals;

// The text, or why it cannot be decoded.
std::string Decode(std::string bytes) {
  auto encoding = Ostrum::UTF_8;
  try {
    std::string utf8 = Ostrum::DecodeFile(std::move(bytes), encoding);
    Ostrum::RequireUtf8(utf8);
    return utf8;
  } catch (const Ostrum::ReadFailure& failure) {
    return failure.what();
  }
}

std::string Declared(const std::string& encoding, const std::string& text) {
  return "<?xml version='1.0' encoding=\"" + encoding + "\"?>\r\n<!-- --><r>" + text + "</r>";
}

std::string Utf16(std::u16string_view text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char halves[] = {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    bytes.append({halves[bigEndian ? 0 : 1], halves[bigEndian ? 1 : 0]});
  }
  return bytes;
}

TEST(Decode, ConvertsWhatTheDeclarationNames) {
  const LocaleGuard other(multibyteLocale);
  const struct {
    const char* encodings;
    std::string bytes, text; // no text: the bytes are invalid; no bytes: the encoding is unknown
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
      {"cp1252", "\x81", ""},
      {"cp1253", "\xAA", ""},
      {"EUC-JP", "\x85", ""},
      {"EUC-JP", "\xA4<", ""},
      {"x-sjis", "\x83", ""},
      {"x-sjis", "\xFD", ""},
      {"none|ISO-2022-JP|UTF-7|IBM037|CP1", "", ""},
  };
  for (const auto& [encodings, bytes, text] : rows) {
    if (encodings == "gb18030"s && !hasUtf8) continue; // Wine lacks it
    for (const std::string_view each : Split(encodings)) {
      const std::string encoding(each), file = Declared(encoding, bytes);
      std::string expected = Declared("UTF-8", text);
      if (text.empty())
        expected = "invalid " + encoding + " at byte offset " + std::to_string(file.find(bytes));
      if (bytes.empty()) expected = "unsupported encoding " + encoding;
      EXPECT_EQ(Decode(file), expected);
    }
  }
}

TEST(Decode, FollowsTheByteOrderMark) {
  const std::string zeros = "UTF-32, and UTF-16 without a byte-order mark, are not supported";
  const std::string contradicts = "the text is not in the encoding that its declaration names: ";
  const std::u16string_view wide = u"\xFEFF<?xml encoding='utf-16'?>\u00E9\U0001F600";
  const std::pair<std::string, std::string> rows[] = {
      {Utf16(wide, true), "<?xml encoding='UTF-8'?>\u00E9\U0001F600"},
      {Utf16(wide, false), "<?xml encoding='UTF-8'?>\u00E9\U0001F600"},
      {Declared("EUC-JP", "").substr(0, 40) + "\x8F\xB0", "invalid EUC-JP at byte offset 40"},
      {Declared("UTF-16", ""), contradicts + "UTF-16"},
      {"\xEF\xBB\xBF" + Declared("KOI8-R", ""), contradicts + "KOI8-R"},
      {Utf16(u"<r/>", false), zeros},
      {"\xFF\xFE\0\0<\0\0\0"s, zeros},
      {Utf16(u"\xFEFF<r>\xD83D</r>", false), "invalid UTF-16 at byte offset 8"},
      {Utf16(u"\xFEFF<r>\xDE00</r>", false), "invalid UTF-16 at byte offset 8"},
      {Utf16(u"\xFEFF<r/>", false) + " ", "invalid UTF-16 at byte offset 10"},
  };
  for (const auto& [bytes, expected] : rows) EXPECT_EQ(Decode(bytes), expected);
  for (const char* same : {"\xEF\xBB\xBF<?xml encoding='utf8' ?>", "<?xml encoding='a/b'?>", ""})
    EXPECT_EQ(Decode(same), same);
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
