// Conversion between wide text and the character set of a call; storing in bounded buffers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <cwchar>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "text/caller_buffer.h"
#include "text/charset_scope.h"
#include "text/convert.h"

namespace {

using Lines = std::vector<std::string>;

const char* const latinLocale = hasUtf8 ? "ISO-8859-1" : ".1252";

class ModeGuard {
 public:
  explicit ModeGuard(bool utf8) { corekit::SetUtf8(utf8); }
  ~ModeGuard() { corekit::SetUtf8(false); }
};

TEST(Conversion, GoesBothWaysOrSaysWhyNot) {
  struct Row {
    const char* locale;
    bool utf8;
    const wchar_t* wide; // null: the bytes are invalid
    const char* bytes;   // null: the text cannot be represented
  };
  const Row rows[] = {
      {narrowLocale, false, L"", ""},
      {narrowLocale, false, L"plain", "plain"},
      {narrowLocale, false, L"\u3042", nullptr},
      {narrowLocale, false, L"\u0141", nullptr}, // L with stroke, never a plain L
      {"C", false, L"\u00e9\u0080", hasUtf8 ? nullptr : "\xE9\x80"}, // Windows: any byte
      {"C", false, L"\u0141", nullptr},
      {latinLocale, false, L"caf\u00e9", "caf\xE9"},
      {latinLocale, false, L"\u0141", nullptr},
      {latinLocale, false, L"\uff21", nullptr}, // the wide letter A
      {narrowLocale, true, L"\u3042\U0001F600\uFFFF\u0080", "\u3042\U0001F600\uFFFF\u0080"},
      {narrowLocale, true, nullptr, "a\xC3"},
      {narrowLocale, true, nullptr, "\xED\xA0\x80"}, // half of a surrogate pair
      {narrowLocale, true, L"\xDC00", nullptr},
      {multibyteLocale, false, L"\u3042\\", "\x82\xA0\\"},
      {multibyteLocale, false, L"\U0001F600", nullptr},
      {multibyteLocale, false, L"\uff21", "\x82\x60"},
      {multibyteLocale, false, L"\u00e9", nullptr},
      {multibyteLocale, false, nullptr, "a\xFF"},
      {multibyteLocale, false, nullptr, "a\x95"},
      {multibyteLocale, true, L"\u3042\\", "\u3042\\"},
      {multibyteLocale, true, nullptr, "\x82\xA0"},
  };
  LogLines log;
  for (const Row& row : rows) {
    const LocaleGuard locale(row.locale);
    const ModeGuard mode(row.utf8);
    const CharsetScope charset;
    const std::string shown = std::string(row.locale) + (row.utf8 ? " UTF-8 " : " ") +
                              (row.bytes != nullptr ? row.bytes : "(not representable)");
    if (row.wide != nullptr) {
      const MultiByteText bytes(ConvertToMultiByte(row.wide));
      ASSERT_EQ(bytes == nullptr, row.bytes == nullptr) << shown;
      EXPECT_TRUE(bytes == nullptr || std::strcmp(bytes.get(), row.bytes) == 0) << shown;
      std::string utf8;
      if (Ostrum::Utf8FromWide(row.wide, utf8)) {
        EXPECT_EQ(IsRepresentable(utf8), row.bytes != nullptr) << shown;
        EXPECT_EQ(LocaleText(utf8).Text().value_or(""), row.bytes != nullptr ? row.bytes : "");
      }
    }
    if (row.bytes != nullptr) {
      const WideText wide(ConvertToUnicode(row.bytes));
      ASSERT_EQ(wide == nullptr, row.wide == nullptr) << shown;
      EXPECT_TRUE(wide == nullptr || std::wcscmp(wide.get(), row.wide) == 0) << shown;
      EXPECT_EQ(DocumentText(row.bytes).Text().has_value(), row.wide != nullptr) << shown;
    }
    const Lines lines = log.Take();
    EXPECT_EQ(lines.empty(), row.wide != nullptr && row.bytes != nullptr) << shown;
    for (const std::string& line : lines) {
      if (line == "no text") continue; // it shows half of a surrogate pair
      EXPECT_TRUE(line.starts_with("Failed to get the length of ")) << line;
      EXPECT_TRUE(line.ends_with(std::string(":  ") + std::strerror(EILSEQ))) << line;
    }
  }
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
