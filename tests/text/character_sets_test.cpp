// Text in various character sets: the multibyte functions, conversions to wide text and back.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <tuple>

#include "platform/platform.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/text.h"
#include "text/convert.h"

namespace {

using platform::charsetInScope, platform::PlainText;

const char* const latin = hasUtf8 ? "ISO-8859-1" : ".1252";
const char* const japanese = multibyteLocale; // a backslash ends common characters
const char* const turkish = hasUtf8 ? "tr_TR" : "Turkish_Turkey.1254"; // has its own letter i
// Not on Windows: its C library has no UTF-8, and no character set with the yen sign in the
// backslash's place.
const char* const unicode = hasUtf8 ? "C.UTF-8" : nullptr;
const char* const yen = hasUtf8 ? "SHIFT_JIS" : nullptr;
const char* const vietnamese = hasUtf8 ? "TCVN5712-1" : nullptr; // accents follow vowels
// Not of a locale, but of a call: UTF-8 by a program's choice; and the code page of UTF-8, for
// which Windows reports no replaced character, but whose locale only some versions have.
const char* const forced = "forced UTF-8";
const char* const codePage = hasUtf8 ? nullptr : "code page 65001";

// False for null.
bool Use(const char* charset) {
  if (charset == nullptr) return false;
  charsetInScope.reset();
  if (charset == forced) charsetInScope = platform::forcedUtf8;
  if (charset == codePage) charsetInScope = {platform::utf8Id, PlainText::None, false, false};
  UseLocale(charsetInScope ? latin : charset);
  return true;
}

TEST(CharacterSets, AreSearchedForWholeCharacters) {
  using Row = std::tuple<const char*, const char*, char, std::string>;
  for (const auto& [charset, text, wanted, firstAndLast] :
       {Row("C", "\x95\\b\\c", '\\', "13"), Row(japanese, "\x95\x5C\\\x83\x5C", '\\', "22"),
        Row(japanese, "\x95\x95\x95\x5C", '\\', "--"),
        Row(japanese, "\xB1\\\x95", '\\', "11"), // half a character at the end
        Row(yen, "\x95\x5C\x5C", '\\', "22"), Row(unicode, "\u00e9\\b\\", '\\', "24"),
        // First as a part of a character, then alone.
        Row(unicode, "\u00e9\xC3", '\xC3', "22"), Row(forced, "\u00e9\xC3", '\xC3', "22")}) {
    if (!Use(charset)) continue;
    std::string places;
    for (const auto find : {&platform::MbsFindChar, &platform::MbsFindLastChar}) {
      const char* const found = find(text, wanted);
      places += found == nullptr ? "-" : std::to_string(found - text);
    }
    EXPECT_EQ(places, firstAndLast) << charset << ' ' << text;
  }
}

TEST(CharacterSets, AreCopiedInWholeCharacters) {
  using Row = std::tuple<const char*, std::string, std::size_t, std::size_t>;
  for (const auto& [charset, text, count, kept] :
       {Row("C", "a\u00e9", 2, 2), Row(japanese, "a\x83\x41\x83\x42", 4, 3),
        Row(japanese, "\x95\x95\x95\x95", 3, 2), // needs a scan from the start
        Row(japanese, "a\x83", 2, 2), Row(forced, "a\u00e9", 2, 1), Row(unicode, "a\u00e9", 2, 1),
        Row(unicode, "a\u00e9", 5, 3), Row(unicode, "\U0001F600x", 1, 0),
        Row(unicode, std::string(6, '\xA9'), 5, 5)}) { // each invalid byte counts as a character
    if (!Use(charset)) continue;
    std::string copied(count + 1, '#');
    platform::MbsCopyBytes(copied.data(), text.c_str(), count);
    EXPECT_EQ(copied, text.substr(0, kept) + std::string(count - kept, '\0') + '#') << charset;
  }
}

TEST(CharacterSets, FoldTheirOwnLetters) {
  const std::pair<const char*, const char*> rows[] = {
      {"C", "ELEMENT=element|ELEMENTS!element|[!{|;![|\xC9!\xE9"},
      {latin, "\xC9=\xE9"},
      {turkish, "ATTRIBUTE=attribute"},
      // Second bytes that are A and a; wide letters A and a; half a character.
      {japanese, "\x83\x41!\x83\x61|\x82\x60Z=\x82\x81z|\x83!\x83\x41"},
      {forced, "A\u00e9=a\u00e9|\u00c9!\u00e9"}, // folds ASCII letters alone
      // The Kelvin sign is not an ASCII letter, an invalid byte no character.
      {unicode, "\u00c9t\u00e9=\u00e9T\u00c9|\u212a!k|\u00e9!\xE9"},
      {vietnamese, "\xA2n=\xA9N|\xA8!\xA9|\xA9n!\xA9m"}};
  for (const auto& [charset, pairs] : rows) {
    if (!Use(charset)) continue;
    for (const std::string_view pair : Split(pairs)) {
      const std::size_t sign = pair.find_first_of("=!");
      const std::string_view left = pair.substr(0, sign), right = pair.substr(sign + 1);
      EXPECT_EQ(platform::MbsEqualsNoCase(left, right), pair[sign] == '=') << charset << pair;
      EXPECT_EQ(platform::MbsEqualsNoCase(right, left), pair[sign] == '=') << charset << pair;
    }
  }
}

TEST(CharacterSets, ChangeWithTheLocaleOnEveryThread) {
  for (const char* charset : {yen, "C", yen, japanese, yen, unicode, latin}) {
    if (!Use(charset)) continue;
    const auto expectPlain = [charset] {
      EXPECT_EQ(platform::QueryCharset().plain != PlainText::None, charset != yen) << charset;
    };
    expectPlain();
    std::thread(expectPlain).join();
  }
}

template <class Char>
std::optional<std::basic_string<Char>> Owned(Char* array) {
  const std::unique_ptr<Char[]> owner(array);
  if (array == nullptr) return std::nullopt;
  return array;
}

TEST(CharacterSets, ConvertBothWaysOrSayWhyNot) {
  constexpr std::nullopt_t none = std::nullopt;
  using Row = std::tuple<const char*, std::optional<std::wstring>, std::optional<std::string>>;
  const Row rows[] = {
      {narrowLocale, L"", ""},
      {narrowLocale, L"plain", "plain"},
      {narrowLocale, L"\u3042", none},
      {narrowLocale, L"\u0141", none}, // L with stroke, never a plain L
      {hasUtf8 ? "C" : nullptr, L"\u00e9\u0080", none},
      {hasUtf8 ? nullptr : "C", L"\u00e9\u0080", "\xE9\x80"}, // on Windows any byte is a character
      {"C", L"\u0141", none},
      {latin, L"caf\u00e9", "caf\xE9"},
      {latin, L"\u0141", none},
      {latin, L"\uff21", none}, // the wide letter A
      {forced, L"\u0800\U00010000\uFFFF\u0080\\", "\u0800\U00010000\uFFFF\u0080\\"},
      {forced, none, "a\xC3"},
      {forced, none, "\xED\xA0\x80"}, // half of a surrogate pair
      {forced, none, "\xED\xBF\xBF"},
      {forced, none, "\xF9\x80\x80\x80"}, // longer than any character
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
    if (!Use(charset)) continue;
    SCOPED_TRACE(charset + (" " + bytes.value_or("-")));
    errno = 0;
    std::string utf8;
    const bool hasUtf8Form = wide && Ostrum::Utf8FromWide(*wide, utf8);
    EXPECT_TRUE(!wide || charset == forced || Owned(ConvertToMultiByte(*wide)) == bytes);
    EXPECT_TRUE(!hasUtf8Form || IsRepresentable(utf8) == bytes.has_value());
    EXPECT_TRUE(!hasUtf8Form || LocaleText(utf8).Text() == bytes);
    EXPECT_TRUE(!bytes || Owned(ConvertToUnicode(bytes->c_str())) == wide);
    EXPECT_TRUE(!bytes || DocumentText(bytes->c_str()).Text().value_or("") == utf8);
    const auto lines = log.Take();
    EXPECT_EQ(lines.empty(), wide && bytes);
    for (const std::string& line : lines) {
      if (line == "no text") continue; // it shows half of a surrogate pair
      EXPECT_TRUE(line.starts_with("Failed to get the length of ") &&
                  line.ends_with(std::string(":  ") + std::strerror(EILSEQ)))
          << line;
    }
  }
  Use("C");
}

} // namespace
