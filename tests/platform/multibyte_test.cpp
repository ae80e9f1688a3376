// The multibyte functions in various character sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "platform/platform.h"
#include "support/character_set.h"
#include "support/text.h"

namespace {

TEST(MultibyteTest, SearchesHitWholeCharactersOnly) {
  struct Row {
    const char *charset, *text;
    char wanted;
    std::string places; // of the first and the last
  };
  for (const auto& [charset, text, wanted, places] :
       {Row{"C", "\x95\\b\\c", '\\', "13"}, Row{japanese, "\x95\x5C\\\x83\x5C", '\\', "22"},
        Row{japanese, "\x95\x95\x95\x5C", '\\', "--"},
        Row{japanese, "\xB1\\\x95", '\\', "11"}, // half a character at the end
        Row{yen, "\x95\x5C\x5C", '\\', "22"}, Row{unicode, "\u00e9\\b\\", '\\', "24"},
        // First as a part of a character, then alone.
        Row{unicode, "\u00e9\xC3", '\xC3', "22"}, Row{forced, "\u00e9\xC3", '\xC3', "22"}}) {
    if (!UseCharset(charset)) continue;
    const auto place = [start = text](const char* hit) {
      return hit == nullptr ? "-" : std::to_string(hit - start);
    };
    EXPECT_EQ(
        place(platform::MbsFindChar(text, wanted)) + place(platform::MbsFindLastChar(text, wanted)),
        places)
        << charset << ' ' << text;
  }
}

TEST(MultibyteTest, BoundedCopiesSplitNoCharacter) {
  struct Row {
    const char* charset;
    std::string text;
    std::size_t count, kept;
  };
  for (const auto& [charset, text, count, kept] :
       {Row{"C", "a\u00e9", 2, 2}, Row{japanese, "a\x83\x41\x83\x42", 4, 3},
        Row{japanese, "\x95\x95\x95\x95", 3, 2}, // needs a scan from the start
        Row{japanese, "a\x83", 2, 2}, Row{forced, "a\u00e9", 2, 1}, Row{unicode, "a\u00e9", 2, 1},
        Row{unicode, "a\u00e9", 5, 3}, Row{unicode, "\U0001F600x", 1, 0},
        Row{unicode, std::string(6, '\xA9'), 5, 5}}) { // each invalid byte counts as a character
    if (!UseCharset(charset)) continue;
    std::string copied(count + 1, '#');
    platform::MbsCopyBytes(copied.data(), text.c_str(), count);
    EXPECT_EQ(copied, text.substr(0, kept) + std::string(count - kept, '\0') + '#') << charset;
  }
}

TEST(MultibyteTest, CasesAreFoldedByCharacter) {
  const std::pair<const char*, const char*> rows[] = {
      {"C", "ELEMENT=element|ELEMENTS!element|[!{|\xC9!\xE9"},
      {latin, "\xC9=\xE9"},
      {turkish, "ATTRIBUTE=attribute"},
      // Second bytes that are A and a; wide letters A and a; half a character.
      {japanese, "\x83\x41!\x83\x61|\x82\x60Z=\x82\x81z|\x83!\x83\x41"},
      {forced, "A\u00e9=a\u00e9|\u00c9!\u00e9"}, // folds ASCII letters alone
      // The Kelvin sign is not an ASCII letter, an invalid byte no character.
      {unicode, "\u00c9t\u00e9=\u00e9T\u00c9|\u212a!k|\u00e9!\xE9"},
      {vietnamese, "\xA2n=\xA9N|\xA8!\xA9|\xA9n!\xA9m"}};
  for (const auto& [charset, pairs] : rows) {
    if (!UseCharset(charset)) continue;
    for (const std::string_view pair : Split(pairs)) {
      const std::size_t sign = pair.find_first_of("=!");
      const std::string_view left = pair.substr(0, sign), right = pair.substr(sign + 1);
      EXPECT_EQ(platform::MbsEqualsNoCase(left, right), pair[sign] == '=') << charset << pair;
      EXPECT_EQ(platform::MbsEqualsNoCase(right, left), pair[sign] == '=') << charset << pair;
    }
  }
}

TEST(MultibyteTest, PlainAsciiFollowsEveryChangeOfTheLocale) {
  for (const char* charset : {yen, "C", yen, japanese, yen, unicode, latin}) {
    if (!UseCharset(charset)) continue;
    const auto expectPlain = [charset] {
      EXPECT_EQ(platform::QueryCharset().plain != platform::PlainText::None, charset != yen);
    };
    expectPlain();
    std::thread(expectPlain).join();
  }
}

} // namespace
