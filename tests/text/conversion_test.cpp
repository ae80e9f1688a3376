// Conversion between wide text and the character set of a call; storing in bounded buffers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/character_set.h"
#include "support/log_lines.h"
#include "text/caller_buffer.h"
#include "text/convert.h"

namespace {

template <class Char>
std::optional<std::basic_string<Char>> Owned(Char* array) {
  const std::unique_ptr<Char[]> owner(array);
  if (array == nullptr) return std::nullopt;
  return array;
}

TEST(Conversion, GoesBothWaysOrSaysWhyNot) {
  constexpr std::nullopt_t none = std::nullopt;
  struct Row {
    const char* charset;
    std::optional<std::wstring> wide; // without a value if the bytes are invalid
    std::optional<std::string> bytes; // without a value if the text cannot be represented
  };
  std::optional<std::string> latinBytes;
  if (!hasUtf8) latinBytes = "\xE9\x80"; // on Windows any byte is a character in the locale "C"
  const Row rows[] = {
      {narrowLocale, L"", ""},
      {narrowLocale, L"plain", "plain"},
      {narrowLocale, L"\u3042", none},
      {narrowLocale, L"\u0141", none}, // L with stroke, never a plain L
      {"C", L"\u00e9\u0080", latinBytes},
      {"C", L"\u0141", none},
      {latin, L"caf\u00e9", "caf\xE9"},
      {latin, L"\u0141", none},
      {latin, L"\uff21", none}, // the wide letter A
      {forced, L"\u3042\U0001F600\uFFFF\u0080\\", "\u3042\U0001F600\uFFFF\u0080\\"},
      {forced, none, "a\xC3"},
      {forced, none, "\xED\xA0\x80"}, // half of a surrogate pair
      {forced, L"\xDC00", none},
      {japanese, L"\u3042\\", "\x82\xA0\\"},
      {japanese, L"\U0001F600", none},
      {japanese, L"\uff21", "\x82\x60"},
      {japanese, L"\u00e9", none},
      {japanese, none, "a\xFF"},
      {japanese, none, "a\x95"},
      {yen, L"\u00a5\u203e", "\\~"},
      {codePage, L"\u0141\U0001F600", "\u0141\U0001F600"},
      {codePage, L"a\xD83D", none},
      {codePage, none, "a\xC3"},
  };
  LogLines log;
  for (const auto& [charset, wide, bytes] : rows) {
    if (!UseCharset(charset)) continue;
    SCOPED_TRACE(charset + (" " + bytes.value_or("-")));
    errno = 0;
    std::string text;
    const bool hasUtf8Form = wide && Ostrum::Utf8FromWide(*wide, text);
    EXPECT_TRUE(!wide || Owned(ConvertToMultiByte(*wide)) == bytes);
    EXPECT_TRUE(!hasUtf8Form || IsRepresentable(text) == bytes.has_value());
    EXPECT_TRUE(!hasUtf8Form || LocaleText(text).Text() == bytes);
    EXPECT_TRUE(!bytes || Owned(ConvertToUnicode(bytes->c_str())) == wide);
    EXPECT_TRUE(!bytes || DocumentText(bytes->c_str()).Text().value_or("") == text);
    const auto lines = log.Take();
    EXPECT_EQ(lines.empty(), wide && bytes);
    for (const std::string& line : lines) {
      if (line == "no text") continue; // it shows half of a surrogate pair
      EXPECT_TRUE(line.starts_with("Failed to get the length of ") &&
                  line.ends_with(std::string(":  ") + std::strerror(EILSEQ)))
          << line;
    }
  }
  UseCharset("C");
}

TEST(CallerBuffer, TruncatesAndLeavesTheRestAlone) {
  struct Row {
    std::size_t capacity;
    int result;
    std::string stored; // of 8 bytes that were all '#'
  };
  for (const auto& [capacity, result, stored] :
       {Row{0, -1, "########"}, Row{1, -1, {"\0#######", 8}}, Row{5, -1, {"abcd\0###", 8}},
        Row{6, 5, {"abcde\0##", 8}}, Row{8, 5, {"abcde\0##", 8}}}) {
    std::string buffer(8, '#');
    EXPECT_EQ(FormatToBuffer(buffer.data(), capacity, {"ab", "cde", ""}), result);
    EXPECT_EQ(buffer, stored) << capacity;
  }
  char buffer[] = "overlap";
  CallerBuffer(buffer, sizeof buffer).Store(std::string_view(buffer + 1, 4));
  EXPECT_STREQ(buffer, "verl");
  EXPECT_FALSE(CallerBuffer(nullptr, 8).IsWanted() || CallerBuffer(buffer, 0).IsWanted());
}

} // namespace
