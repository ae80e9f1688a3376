// The multibyte functions in the character sets where bytes are not characters. The locales are made here.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/platform.h"
#include "support/temp_folder.h"

namespace {

// Character sets, as localedef names them, with the language whose letters count.
struct Locale {
  const char* charset;
  const char* letters = "i18n_ctype";
};
constexpr Locale plain{"C"};
constexpr Locale utf8{"C.UTF-8"};
constexpr Locale latin{"ISO-8859-1"};
constexpr Locale turkish{"UTF-8", "tr_TR"}; // has an i of its own
constexpr Locale japanese{"WINDOWS-31J"};   // the backslash is the second byte of common characters
constexpr Locale chinese{"GBK"};
constexpr Locale yen{"SHIFT_JIS"}; // has the yen sign in the backslash's place

std::ostream& operator<<(std::ostream& stream, const Locale& locale) { return stream << locale.charset; }

// Makes locales in a folder that lasts as long as the program, because the C library keeps looking there.
class MadeLocales {
 public:
  MadeLocales() { setenv("LOCPATH", folder.Path().c_str(), 1); }

  void Make(const Locale& locale) const {
    const std::string target = folder.Name(locale.charset);
    if (std::filesystem::exists(target)) return;
    const std::string letters = std::string("LC_CTYPE\ncopy \"") + locale.letters + "\"\nEND LC_CTYPE\n";
    const std::string source = folder.Write("source", letters + "LC_COLLATE\ncopy \"POSIX\"\nEND LC_COLLATE\n");
    // It warns of the categories that are not there, in its exit status too; whether it worked shows when it is set.
    const std::string command = "localedef --no-archive -c -i " + source + " -f " + locale.charset + " " + target +
                                " 2>" + folder.Name("warnings");
    if (std::system(command.c_str()) == -1) throw std::runtime_error("no shell");
  }

 private:
  TempFolder folder;
};

// Sets the process's locale; a test whose locale cannot be made fails.
void Use(const Locale& locale) {
  static const MadeLocales made;
  if (locale.charset[0] != 'C') made.Make(locale);
  if (std::setlocale(LC_CTYPE, locale.charset) == nullptr) {
    throw std::runtime_error(std::string(locale.charset) + " could not be made: localedef and its charmaps are needed");
  }
}

std::ptrdiff_t Offset(const char* text, const char* found) { return found == nullptr ? -1 : found - text; }

TEST(MultibyteTest, SearchesHitWholeCharactersOnly) {
  const struct {
    Locale locale;
    const char* text;
    const char* wanted;
    std::ptrdiff_t first;
    std::ptrdiff_t last; // of a single character
  } cases[] = {
      {plain, "a\\b\\c", "\\", 1, 3},
      {plain, "\x95\\b", "\\", 1, 1}, // no character of two bytes here
      {utf8, "\xC3\xA9\\b\\", "\\", 2, 4},
      {utf8, "\xC3\xA9", "\xA9", -1, -1}, // the second byte of a character, and the first one
      {utf8, "\xC3\xA9", "\xC3", -1, -1},
      {utf8, "\xC3\xA9\xC3", "\xC3", 2, 2}, // alone it is one of its own
      {japanese, "\x95\x5C\\\x83\x5C", "\\", 2, 2},
      {japanese, "\x95\x5C", "\\", -1, -1},
      {japanese, "\x83\x41\x41", "A", 2, 2},
      {japanese, "\x95\x95\x95\x5C\\", "\\", 4, 4},
      {japanese, "\xB1\\\x95", "\\", 1, 1}, // a character of one byte above ASCII; half a character at the end
      {japanese, "\x95\x5C\x83\x5C", "\x83\x5C", 2, 0},
      {japanese, "\x81\x83\x5C\x83\x5C", "\x83\x5C", 3, 0}, // bytes across two characters do not count
      {chinese, "\x81\x5C\\\xFE\x5C\\x", "\\", 2, 5},
      {chinese,
       "\x81\x41"
       "B",
       "B", 2, 2},
      {yen, "\x95\x5C\x5C", "\\", 2, 2},
      {japanese, "text", "", 0, 0},
      {japanese, "text\x95", "none", -1, -1},
  };
  for (const auto& each : cases) {
    Use(each.locale);
    EXPECT_EQ(Offset(each.text, platform::MbsFind(each.text, each.wanted)), each.first) << each.locale << each.text;
    if (std::strlen(each.wanted) != 1) continue;
    const char* const first = platform::MbsFindChar(each.text, *each.wanted);
    const char* const last = platform::MbsFindLastChar(each.text, *each.wanted);
    EXPECT_EQ(Offset(each.text, first), each.first) << each.locale << each.text;
    EXPECT_EQ(Offset(each.text, last), each.last) << each.locale << each.text;
  }
}

TEST(MultibyteTest, BoundedCopiesSplitNoCharacter) {
  const struct {
    Locale locale;
    const char* source;
    std::size_t count;
    const char* copied;
  } cases[] = {
      {plain, "a\xC3\xA9", 2, "a\xC3"},
      {plain, "abc", 0, ""},
      {utf8, "a\xC3\xA9", 2, "a"},
      {utf8, "a\xC3\xA9", 3, "a\xC3\xA9"},
      {utf8, "\xF0\x9F\x98\x80x", 3, ""},
      {utf8, "\xF0\x9F\x98\x80x", 4, "\xF0\x9F\x98\x80"},
      {utf8, "\xA9\xA9\xA9\xA9\xA9\xA9", 5, "\xA9\xA9\xA9\xA9\xA9"}, // no character of several bytes among them
      {utf8, "a\xF0\xA9", 2, "a\xF0"},
      {japanese, "a\x83\x41\x83\x42", 4, "a\x83\x41"},
      {japanese, "a\x83\x41\x83\x42", 5, "a\x83\x41\x83\x42"},
      {japanese, "\x95\x95\x95\x95", 3, "\x95\x95"}, // read backwards the half could not be seen
      {japanese, "a\x83", 2, "a\x83"},
      {chinese, "\x81\x5C\x81\x5C", 3, "\x81\x5C"},
  };
  for (const auto& each : cases) {
    Use(each.locale);
    const std::string expected = each.copied;
    std::string target(each.count + 1, '#');
    platform::MbsCopyBytes(target.data(), each.source, each.count);
    EXPECT_EQ(target, expected + std::string(each.count - expected.size(), '\0') + '#') << each.locale << each.source;

    char appended[16] = "x";
    platform::MbsAppendBytes(appended, each.source, each.count);
    EXPECT_EQ(appended, "x" + expected) << each.locale << each.source;
  }
}

TEST(MultibyteTest, CasesAreFoldedByCharacter) {
  constexpr std::size_t all = 100;
  const struct {
    Locale locale;
    const char* left;
    const char* right;
    std::size_t count;
    bool equal;
  } cases[] = {
      {plain, "File.XML", "fILE.xml", all, true},
      {plain, "ELEMENTS", "element", 7, true},
      {plain, "ELEMENTS", "element", 8, false},
      {plain, "[", "{", all, false},
      {plain, "\xC9", "\xE9", all, false},
      {latin, "\xC9", "\xE9", all, true},
      {utf8, "\xC3\x89t\xC3\xA9", "\xC3\xA9T\xC3\x89", all, true},
      {utf8, "\xC3\xA9", "\xC3\xA8", all, false},
      {utf8, "\xE2\x84\xAA", "k", all, false}, // the kelvin sign is no ASCII letter
      {utf8, "\xC3", "\xC3\xA9", 1, true},
      {turkish, "ATTRIBUTE", "attribute", all, true},
      {japanese, "\x83\x41", "\x83\x61", all, false}, // the second bytes are A and a
      {japanese,
       "\x83\x41"
       "A",
       "\x83\x41"
       "a",
       all, true},
      {japanese, "\x82\x60", "\x82\x81", all, true}, // wide letters, A and a
      {japanese, "\x83", "\x83\x41", all, false},
      {chinese, "\x81\x41", "\x81\x61", all, false},
      {chinese, "\x81\x41x", "\x81\x61x", all, false},
      {chinese, "x\x81\x41y", "X\x81\x41Y", 4, true},
      {yen,
       "\x83\x41"
       "A\\",
       "\x83\x41"
       "a\\",
       all, true},
  };
  for (const auto& each : cases) {
    Use(each.locale);
    const int order = platform::MbsCompareBytesNoCase(each.left, each.right, each.count);
    EXPECT_EQ(order == 0, each.equal) << each.locale << ' ' << each.left << ' ' << each.right;
    const int reverse = platform::MbsCompareBytesNoCase(each.right, each.left, each.count);
    EXPECT_TRUE(order == 0 ? reverse == 0 : (order < 0) != (reverse < 0)) << each.left << ' ' << each.right;
    if (each.count != all) continue;
    EXPECT_EQ(platform::MbsCompareNoCase(each.left, each.right) == 0, each.equal) << each.locale << each.left;
    EXPECT_NE(platform::MbsCompare(each.left, each.right), 0) << "case counts " << each.left;
  }
  EXPECT_EQ(platform::MbsCompareBytes("abX", "abY", 2), 0);
  EXPECT_LT(platform::MbsCompareBytes("abX", "abY", 3), 0);
}

TEST(MultibyteTest, PlainAsciiFollowsEveryChangeOfTheLocale) {
  const struct {
    Locale locale;
    bool isPlain;
  } cases[] = {{yen, false}, {plain, true}, {yen, false}, {japanese, true}, {yen, false}, {utf8, true}, {latin, true}};
  for (const auto& each : cases) {
    Use(each.locale);
    EXPECT_EQ(platform::AsciiIsPlain(), each.isPlain) << each.locale;
    std::thread([&] { EXPECT_EQ(platform::AsciiIsPlain(), each.isPlain) << each.locale << " on a new thread"; }).join();
  }
  // A thread's own locale counts for it alone.
  Use(yen);
  const locale_t own = duplocale(LC_GLOBAL_LOCALE);
  ASSERT_NE(own, nullptr);
  Use(latin);
  std::thread([own] {
    uselocale(own);
    EXPECT_FALSE(platform::AsciiIsPlain());
    uselocale(LC_GLOBAL_LOCALE);
  }).join();
  EXPECT_TRUE(platform::AsciiIsPlain());
  freelocale(own);
}

} // namespace
