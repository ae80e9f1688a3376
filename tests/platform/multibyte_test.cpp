// The multibyte functions in various character sets, selected by setlocale only.
#include <gtest/gtest.h>

#include <algorithm>
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
constexpr const char* vietnamese = "TCVN5712-1"; // its vowels may take accents that follow

// As a program may choose it in a locale of single bytes.
constexpr const char* forced = "forced UTF-8";

void Use(const char* locale) {
  const bool isForced = locale == forced;
  UseLocale(isForced ? latin : locale);
  platform::charsetInScope.reset();
  if (isForced) platform::charsetInScope = platform::forcedUtf8;
}

// The places of the first and last occurrence as a character.
std::string Hits(const char* locale, const char* text, char wanted) {
  Use(locale);
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
  // As first byte of a character, then alone.
  EXPECT_EQ(Hits(forced, "\u00e9\xC3", '\xC3'), "22");
  if (!hasUtf8) return;
  EXPECT_EQ(Hits(utf8, "\u00e9\\b\\", '\\'), "24");
  EXPECT_EQ(Hits(utf8, "\u00e9\xC3", '\xC3'), "22");
  EXPECT_EQ(Hits(yen, "\x95\x5C\x5C", '\\'), "22");
}

// At most count bytes of the text, copied; the rest of them must be zeros.
std::string Copied(const char* locale, const char* text, std::size_t count) {
  Use(locale);
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
  EXPECT_EQ(Copied(forced, "a\u00e9", 2), "a");
  if (!hasUtf8) return;
  EXPECT_EQ(Copied(utf8, "a\u00e9", 2), "a");
  EXPECT_EQ(Copied(utf8, "a\u00e9", 5), "a\u00e9");
  EXPECT_EQ(Copied(utf8, "\U0001F600x", 3), "");
  const std::string invalid(5, '\xA9'); // each byte counts as a character
  EXPECT_EQ(Copied(utf8, (invalid + "\xA9").c_str(), 5), invalid);
}

bool AreEqual(const char* locale, const char* left, const char* right) {
  Use(locale);
  const bool areEqual = platform::MbsEqualsNoCase(left, right);
  EXPECT_EQ(platform::MbsEqualsNoCase(right, left), areEqual) << locale << ' ' << left;
  return areEqual;
}

TEST(MultibyteTest, CasesAreFoldedByCharacter) {
  EXPECT_TRUE(AreEqual(plain, "ELEMENT", "element"));
  EXPECT_FALSE(AreEqual(plain, "ELEMENTS", "element"));
  EXPECT_FALSE(AreEqual(plain, "[", "{"));
  EXPECT_FALSE(AreEqual(plain, "\xC9", "\xE9"));
  EXPECT_TRUE(AreEqual(latin, "\xC9", "\xE9"));
  EXPECT_TRUE(AreEqual(turkish, "ATTRIBUTE", "attribute"));
  EXPECT_FALSE(AreEqual(japanese, "\x83\x41", "\x83\x61"));  // the second bytes are A and a
  EXPECT_TRUE(AreEqual(japanese, "\x82\x60Z", "\x82\x81z")); // wide letters, A and a
  EXPECT_FALSE(AreEqual(japanese, "\x83", "\x83\x41"));
  EXPECT_TRUE(AreEqual(forced, "A\u00e9", "a\u00e9"));
  EXPECT_FALSE(AreEqual(forced, "\u00c9", "\u00e9")); // folds ASCII letters alone
  if (!hasUtf8) return;
  EXPECT_TRUE(AreEqual(utf8, "\u00c9t\u00e9", "\u00e9T\u00c9"));
  EXPECT_FALSE(AreEqual(utf8, "\u212a", "k")); // the Kelvin sign is not an ASCII letter
  EXPECT_TRUE(AreEqual(vietnamese, "\xA2n", "\xA9N"));
  EXPECT_FALSE(AreEqual(vietnamese, "\xA8", "\xA9"));
  EXPECT_FALSE(AreEqual(vietnamese, "\xA9n", "\xA9m"));
}

TEST(MultibyteTest, PlainAsciiFollowsEveryChangeOfTheLocale) {
  for (const char* locale : {yen, plain, yen, japanese, yen, utf8, latin}) {
    if (!hasUtf8 && (locale == yen || locale == utf8)) continue;
    Use(locale);
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
