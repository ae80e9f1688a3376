// The multibyte functions in various character sets, selected by setlocale only.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "platform/charset.h"
#include "platform/platform.h"
#include "support/locale_guard.h"

namespace {

constexpr const char* plain = "C";
// Turkish has a letter i of its own; in Japanese the backslash is the second byte of common
// characters.
const char* const latin = hasUtf8 ? "ISO-8859-1" : ".1252";
const char* const japanese = multibyteLocale;
const char* const turkish = hasUtf8 ? "tr_TR" : "Turkish_Turkey.1254";
// Not on Windows: its C library has no UTF-8, and no character set with the yen sign in the
// backslash's place.
constexpr const char* utf8 = "C.UTF-8";
constexpr const char* yen = "SHIFT_JIS";

// The places of the first and last occurrence as a character.
std::string Hits(const char* locale, const char* text, char wanted) {
  UseLocale(locale);
  const auto place = [text](const char* hit) {
    return hit == nullptr ? "-" : std::to_string(hit - text);
  };
  return place(platform::MbsFindChar(text, wanted)) +
         place(platform::MbsFindLastChar(text, wanted));
}

TEST(MultibyteTest, SearchesHitWholeCharactersOnly) {
  EXPECT_EQ(Hits(plain, "\x95\\b\\c", '\\'), "13");
  EXPECT_EQ(Hits(japanese, "\x95\x5C\\\x83\x5C", '\\'), "22");
  EXPECT_EQ(Hits(japanese, "\x95\x95\x95\x5C", '\\'), "--");
  EXPECT_EQ(Hits(japanese, "\xB1\\\x95", '\\'), "11"); // half a character at the end
  if (!hasUtf8) return;
  EXPECT_EQ(Hits(utf8, "\u00e9\\b\\", '\\'), "24");
  EXPECT_EQ(Hits(utf8, "\u00e9\xC3", '\xC3'), "22"); // as first byte of a character, then alone
  EXPECT_EQ(Hits(yen, "\x95\x5C\x5C", '\\'), "22");
}

// At most count bytes of the text, copied; the rest of them must be zeros.
std::string Copied(const char* locale, const char* text, std::size_t count) {
  UseLocale(locale);
  std::string copied(count + 1, '#');
  platform::MbsCopyBytes(copied.data(), text, count);
  std::string whole = copied.substr(0, std::min(count, copied.find('\0')));
  EXPECT_EQ(copied, whole + std::string(count - whole.size(), '\0') + '#') << locale << ' ' << text;
  return whole;
}

TEST(MultibyteTest, BoundedCopiesSplitNoCharacter) {
  EXPECT_EQ(Copied(plain, "a\u00e9", 2), "a\xC3");
  EXPECT_EQ(Copied(japanese, "a\x83\x41\x83\x42", 4), "a\x83\x41");
  EXPECT_EQ(Copied(japanese, "\x95\x95\x95\x95", 3), "\x95\x95"); // needs a scan from the start
  EXPECT_EQ(Copied(japanese, "a\x83", 2), "a\x83");
  if (!hasUtf8) return;
  EXPECT_EQ(Copied(utf8, "a\u00e9", 2), "a");
  EXPECT_EQ(Copied(utf8, "a\u00e9", 5), "a\u00e9");
  EXPECT_EQ(Copied(utf8, "\U0001F600x", 3), "");
  EXPECT_EQ(Copied(utf8, "\xA9\xA9\xA9\xA9\xA9\xA9", 5),
            "\xA9\xA9\xA9\xA9\xA9"); // each counts as a character
}

bool AreEqual(const char* locale, const char* left, const char* right, std::size_t count = 100) {
  UseLocale(locale);
  const int order = platform::MbsCompareBytesNoCase(left, right, count);
  EXPECT_EQ(platform::MbsCompareBytesNoCase(right, left, count), -order) << locale << ' ' << left;
  EXPECT_TRUE(count != 100 || platform::MbsCompareNoCase(left, right) == order)
      << locale << ' ' << left;
  EXPECT_NE(platform::MbsCompare(left, right), 0) << "case counts " << left;
  return order == 0;
}

TEST(MultibyteTest, CasesAreFoldedByCharacter) {
  EXPECT_TRUE(AreEqual(plain, "ELEMENTS", "element", 7));
  EXPECT_FALSE(AreEqual(plain, "ELEMENTS", "element", 8));
  EXPECT_FALSE(AreEqual(plain, "[", "{"));
  EXPECT_FALSE(AreEqual(plain, "\xC9", "\xE9"));
  EXPECT_TRUE(AreEqual(latin, "\xC9", "\xE9"));
  EXPECT_TRUE(AreEqual(turkish, "ATTRIBUTE", "attribute"));
  EXPECT_FALSE(AreEqual(japanese, "\x83\x41", "\x83\x61"));  // the second bytes are A and a
  EXPECT_TRUE(AreEqual(japanese, "\x82\x60Z", "\x82\x81z")); // wide letters, A and a
  EXPECT_FALSE(AreEqual(japanese, "\x83", "\x83\x41"));
  if (!hasUtf8) return;
  EXPECT_TRUE(AreEqual(utf8, "\u00c9t\u00e9", "\u00e9T\u00c9"));
  EXPECT_FALSE(AreEqual(utf8, "\u212a", "k")); // the Kelvin sign is not an ASCII letter
}

// The bytes of a wide text, or "-" if it has none. Whatever is converted must convert back.
std::string Converted(const char* locale, const wchar_t* text) {
  UseLocale(locale);
  const std::size_t length = platform::WideToMbs(nullptr, text, 0);
  if (length == platform::conversionFailed) return "-";
  std::string bytes(length, '#');
  EXPECT_EQ(platform::WideToMbs(bytes.data(), text, length + 1), length);
  std::wstring back(platform::MbsToWide(nullptr, bytes.c_str(), 0), L'#');
  EXPECT_EQ(platform::MbsToWide(back.data(), bytes.c_str(), back.size() + 1), back.size());
  EXPECT_EQ(back, text);
  return bytes;
}

TEST(MultibyteTest, NoCharacterIsConvertedToASimilarOne) {
  for (const char* const locale : {plain, latin, japanese})
    EXPECT_EQ(Converted(locale, L"ab"), "ab");
  EXPECT_EQ(Converted(latin, L"caf\u00e9"), "caf\xE9");
  EXPECT_EQ(Converted(latin, L"\u0141"), "-"); // L with stroke
  EXPECT_EQ(Converted(latin, L"\uff21"), "-"); // the wide letter A
  EXPECT_EQ(Converted(japanese, L"\uff21"), "\x82\x60");
  EXPECT_EQ(Converted(japanese, L"\u00e9"), "-");
  EXPECT_EQ(platform::MbsToWide(nullptr, "a\xFF", 0), platform::conversionFailed);
  EXPECT_EQ(platform::MbsToWide(nullptr, "a\x95", 0), platform::conversionFailed);
  EXPECT_EQ(platform::MbsToWide(nullptr, "", 0), 0U);
  if (!hasUtf8) return; // Wine measures what it then cannot convert
  EXPECT_EQ(Converted(plain, L"\u0141"), "-");
}

TEST(MultibyteTest, PlainAsciiFollowsEveryChangeOfTheLocale) {
  for (const char* locale : {yen, plain, yen, japanese, yen, utf8, latin}) {
    if (!hasUtf8 && (locale == yen || locale == utf8)) continue;
    UseLocale(locale);
    const auto isPlain = [] {
      return platform::CurrentCharset().plain != platform::PlainText::None;
    };
    EXPECT_EQ(isPlain(), locale != yen) << locale;
    std::thread([&] {
      EXPECT_EQ(isPlain(), locale != yen) << locale << " on a new thread";
    }).join();
  }
}

} // namespace
