// Conversion between wide text and the character set of a call; storing in bounded buffers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "text/caller_buffer.h"
#include "text/charset_scope.h"
#include "text/convert.h"

namespace {

using Lines = std::vector<std::string>;

const char* const latinLocale = hasUtf8 ? "ISO-8859-1" : ".1252";

// A code page for which Windows reports no replaced character. Its runtime has a locale of it only
// in some versions.
constexpr const char* windowsUtf8 = "65001";

template <class Char>
std::optional<std::basic_string<Char>> Owned(Char* array) {
  const std::unique_ptr<Char[]> owner(array);
  if (array == nullptr) return std::nullopt;
  return array;
}

TEST(Conversion, GoesBothWaysOrSaysWhyNot) {
  struct Row {
    const char* locale;
    bool utf8;
    std::optional<std::wstring> wide; // without a value if the bytes are invalid
    std::optional<std::string> bytes; // without a value if the text cannot be represented
  };
  std::optional<std::string> latinBytes;
  if (!hasUtf8) latinBytes = "\xE9\x80"; // on Windows any byte is a character in the locale "C"
  const Row rows[] = {
      {narrowLocale, false, L"", ""},
      {narrowLocale, false, L"plain", "plain"},
      {narrowLocale, false, L"\u3042", std::nullopt},
      {narrowLocale, false, L"\u0141", std::nullopt}, // L with stroke, never a plain L
      {"C", false, L"\u00e9\u0080", latinBytes},
      {"C", false, L"\u0141", std::nullopt},
      {latinLocale, false, L"caf\u00e9", "caf\xE9"},
      {latinLocale, false, L"\u0141", std::nullopt},
      {latinLocale, false, L"\uff21", std::nullopt}, // the wide letter A
      {narrowLocale, true, L"\u3042\U0001F600\uFFFF\u0080", "\u3042\U0001F600\uFFFF\u0080"},
      {narrowLocale, true, std::nullopt, "a\xC3"},
      {narrowLocale, true, std::nullopt, "\xED\xA0\x80"}, // half of a surrogate pair
      {narrowLocale, true, L"\xDC00", std::nullopt},
      {multibyteLocale, false, L"\u3042\\", "\x82\xA0\\"},
      {multibyteLocale, false, L"\U0001F600", std::nullopt},
      {multibyteLocale, false, L"\uff21", "\x82\x60"},
      {multibyteLocale, false, L"\u00e9", std::nullopt},
      {multibyteLocale, false, std::nullopt, "a\xFF"},
      {multibyteLocale, false, std::nullopt, "a\x95"},
      {multibyteLocale, true, L"\u3042\\", "\u3042\\"},
      {multibyteLocale, true, std::nullopt, "\x82\xA0"},
      {windowsUtf8, false, L"\u0141\U0001F600", "\u0141\U0001F600"},
      {windowsUtf8, false, L"a\xD83D", std::nullopt},
      {windowsUtf8, false, std::nullopt, "a\xC3"},
  };
  LogLines log;
  for (const Row& row : rows) {
    const bool isCodePage = row.locale == windowsUtf8;
    if (isCodePage && hasUtf8) continue;
    const LocaleGuard locale(isCodePage ? narrowLocale : row.locale);
    platform::charsetInScope.reset();
    if (isCodePage)
      platform::charsetInScope = {platform::utf8Id, platform::PlainText::None, false, false};
    corekit::SetUtf8(row.utf8);
    const CharsetScope charset;
    SCOPED_TRACE(row.locale + std::string(row.utf8 ? " UTF-8 " : " ") + row.bytes.value_or("-"));
    std::string utf8;
    const bool hasUtf8Form = row.wide && Ostrum::Utf8FromWide(*row.wide, utf8);
    EXPECT_TRUE(!row.wide || Owned(ConvertToMultiByte(*row.wide)) == row.bytes);
    EXPECT_TRUE(!hasUtf8Form || IsRepresentable(utf8) == row.bytes.has_value());
    EXPECT_TRUE(!hasUtf8Form || LocaleText(utf8).Text() == row.bytes);
    if (row.bytes) {
      EXPECT_EQ(Owned(ConvertToUnicode(row.bytes->c_str())), row.wide);
      EXPECT_EQ(DocumentText(row.bytes->c_str()).Text().value_or(""), utf8);
    }
    const Lines lines = log.Take();
    EXPECT_EQ(lines.empty(), row.wide && row.bytes);
    for (const std::string& line : lines) {
      if (line == "no text") continue; // it shows half of a surrogate pair
      EXPECT_TRUE(line.starts_with("Failed to get the length of ")) << line;
      EXPECT_TRUE(line.ends_with(std::string(":  ") + std::strerror(EILSEQ))) << line;
    }
  }
  corekit::SetUtf8(false);
  platform::charsetInScope.reset();
}

TEST(CallerBuffer, TruncatesAndLeavesTheRestAlone) {
  struct Row {
    std::size_t capacity;
    const char* stored; // of 8 bytes that were all '#'
    int result;
  };
  const Row rows[] = {{0, "########", -1},
                      {1, "\0#######", -1},
                      {5, "abcd\0###", -1},
                      {6, "abcde\0##", 5},
                      {8, "abcde\0##", 5}};
  for (const Row& row : rows) {
    std::string buffer(8, '#');
    EXPECT_EQ(FormatToBuffer(buffer.data(), row.capacity, {"ab", "", "cde"}), row.result);
    EXPECT_EQ(buffer, std::string(row.stored, 8)) << row.capacity;
  }
  char buffer[] = "overlap";
  CallerBuffer(buffer, sizeof buffer).Store(std::string_view(buffer + 1, 4));
  EXPECT_STREQ(buffer, "verl");
  EXPECT_FALSE(CallerBuffer(nullptr, 8).IsWanted());
  EXPECT_FALSE(CallerBuffer(buffer, 0).IsWanted());
}

} // namespace
