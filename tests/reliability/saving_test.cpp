// Saving while other programs write the file: sets that returned 0 must be in the file, and other
// programs' changes must stay.
#include <gtest/gtest.h>

#include <array>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "support/system_aes.h"

namespace {

constexpr const char* before = "<!DOCTYPE R><R><A>1</A></R>";
constexpr const char* own = "<!DOCTYPE R><R><A k=\"b c\">new</A></R>";

constexpr const char* damaged = "written over";
constexpr const char* undecodable = "invalid UTF-16";

// The file when a document that was opened as `before` sets A and its attribute, and the file after
// that.
const struct {
  const char* theirs; // null: the file is gone
  std::uint32_t code;
  const char* after; // null: unchanged
  const char* line;  // a part of the log line of "ostrumxml"
} meetings[] = {
    {before, 0, own, ""},
    {"<!DOCTYPE R><R><A>2</A></R>", 0, own, ""},
    {"<!DOCTYPE R><R><B>1</B></R>", 0, "<!DOCTYPE R><R><B>1</B><A k=\"b c\">new</A></R>",
     "merged"}, // of equal size
    {"<R>\n  <!-- by hand -->\n  <A >9</A>\n  <B/>\n</R >\n", 0,
     "<R>\n  <!-- by hand -->\n  <A k=\"b c\" >new</A>\n  <B/>\n</R >\n", "merged"},
    {"<R><Ab/><A/></R>", 0, "<R><Ab/><A k=\"b c\">new</A></R>", "merged"},
    {"<!DOCTYPE R><R><A>1</A></R><?more?>", 0, "<!DOCTYPE R><R><A k=\"b c\">new</A></R><?more?>",
     "merged"}, // longer by what follows
    {"<R><A>1</A>", 0, own, damaged},
    {"", 0, own, damaged},
    {nullptr, 0, own, ""},
    {"<S><A>1</A></S>", 34, nullptr, "another document"},
    {"\xFE\xFF\xD8", 34, nullptr, undecodable},
    {"<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k=' b' >1</A></R>", 0,
     "<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k='b c' >new</A></R>", "merged"},
    {"<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;</R>", 34, nullptr, "entity"},
};

TEST(Saving, ChangesTheFileAsItIsByThen) {
  for (const std::int32_t encrypted : PlainAndEncrypted()) {
    for (const auto& [theirs, code, after, line] : meetings) {
      // A damaged file is waited for until it is two seconds old. Once is enough for that.
      const bool isDamaged = line == damaged || line == undecodable;
      if (isDamaged && encrypted != 0) continue;
      SCOPED_TRACE(theirs == nullptr ? "gone" : theirs);
      const TestDocument document(before, encrypted);
      ASSERT_EQ(document.Save(), 0U);
      if (theirs == nullptr) std::filesystem::remove(document.Name());
      if (theirs != nullptr) document.Write(theirs);
      LogLines log;
      EXPECT_EQ(document.SetText("", "A&k=b c", "new"), code);
      const std::string lines = testing::PrintToString(log.Take());
      EXPECT_NE(lines.find(line), lines.npos) << lines;
      EXPECT_TRUE(*line != '\0' || lines.find("ostrumxml") == lines.npos) << lines;
      EXPECT_EQ(document.Bytes(), after != nullptr ? after : theirs);

      // The next set also keeps other programs' changes, and carries out the set that failed.
      if (code != 0) document.Write("<R><B/></R>");
      EXPECT_EQ(document.SetText("", "Z", "z"), 0U);
      std::string next = after != nullptr ? after : "<R><B/><A k=\"b c\">new</A></R>";
      const bool isOnLines = next.ends_with('\n');
      next.insert(next.rfind(isOnLines ? "\n</R" : "</R"), isOnLines ? "\n  <Z>z</Z>" : "<Z>z</Z>");
      EXPECT_EQ(document.Bytes(), next);

      // An element that this document created is neither confused with one of a longer name nor
      // created twice.
      next.insert(next.find("<Z>"), "<Z1/>");
      document.Write(next);
      EXPECT_EQ(document.SetText("", "Z", "y"), 0U);
      EXPECT_EQ(document.Bytes(), next.replace(next.find("<Z>") + 3, 1, "y"));
      EXPECT_EQ(document.FilesInFolder(), 1);
    }
  }
}

// Under another locale than the one in which the sets were made.
TEST(Saving, AppliesWaitingSetsToTheElementsThatTheyMeant) {
  if (!hasUtf8) return;
  const TestDocument document("<R><\u00E9t\u00E9>1</\u00E9t\u00E9></R>");
  document.Write("<S/>");
  {
    const LocaleGuard locale("C.UTF-8");
    EXPECT_EQ(document.SetText("", "\u00E9", "2"), 34U); // the beginning of the name
    EXPECT_EQ(document.SetText("\u00E9", "N", "n"), 34U);
    EXPECT_EQ(document.SetText("", "\u00FC", "3"), 34U);
    EXPECT_EQ(document.SetText("", "\u00FC", "4"), 34U);
    // Is not the same, since it sets no text.
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, "\u00FC", "", "", ""), 34U);
    EXPECT_EQ(document.SetText("\u00FC", "O", "o"), 34U);
  }
  const LocaleGuard locale("C");
  LogLines log;
  const auto save = [&](const std::string& theirs) {
    document.Write(theirs);
    log.Take();
    EXPECT_EQ(document.Save(), 0U);
    return document.Bytes();
  };
  EXPECT_EQ(save("<R><\u00E9/><\u00E9t\u00E9>9</\u00E9t\u00E9><\u00FCb/></R>"),
            "<R><\u00E9/><\u00E9t\u00E9>2<N>n</N></\u00E9t\u00E9><\u00FCb/>"
            "<\u00FC>4<O>o</O></\u00FC></R>");
  EXPECT_EQ(log.Take(), (std::vector<std::string>{
                            "Found " + document.Name() + " (" + std::to_string(document.cookie) +
                                ") in the xml file list.",
                            " is a group ID",
                            "ostrumxml: The save was merged with what another program had written "
                            "to the file"}));
  EXPECT_EQ(save("<R/>"), "<R/>"); // nothing waits any more
}

// Two spellings of one character: an element is only found under the second, so each set of the
// first creates another.
TEST(Saving, TellsElementsOfOneNameApart) {
  const LocaleGuard locale(multibyteLocale);
  const char *first = "\xED\x40", *second = "\xFA\x5C";
  const auto named = [](const std::string& text) {
    std::string markup = text;
    for (std::size_t at = 0; (at = markup.find('n', at)) != std::string::npos;)
      markup.replace(at, 1, "\u7E8A");
    return markup;
  };
  using Row = std::array<const char*, 3>;
  for (const auto& [ours, theirs, after] :
       {Row{"<R/>", "<R/>", "<R><n>3</n><n>2</n></R>"},
        Row{"<R/>", "<R><n>x</n><B/></R>", "<R><n>3</n><B/><n>2</n></R>"},
        Row{"<R/>", "<R><n>x</n><n>y</n><n>z</n></R>", "<R><n>3</n><n>2</n><n>z</n></R>"},
        // The first was there, and is gone: what is set for the third must not be taken for it.
        Row{"<R><n>0</n></R>", "<R/>", "<R><n>1</n><n>2</n><n>3</n></R>"}}) {
    SCOPED_TRACE(theirs);
    const TestDocument document(named(ours));
    document.Write("<S/>");
    EXPECT_EQ(document.SetText("", first, "1"), 34U);
    EXPECT_EQ(document.SetText("", first, "2"), 34U);
    document.Write(named(theirs));
    EXPECT_EQ(document.SetText("", second, "3"), 0U);
    EXPECT_EQ(document.Bytes(), named(after));
  }
}

#ifdef __GLIBC__
// Setting an item again and again while the file cannot be written.
TEST(Saving, KeepsTheFirstAndTheLastWaitingSetOfAnItem) {
  const TestDocument document("<R/>");
  document.Write("<S/>");
  const std::size_t size = 1'000'000;
  const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  EXPECT_EQ(document.SetText("A", "B", "first"), 34U);
  const std::size_t bytesBefore = inUse();
  for (char digit = '0'; digit <= '9'; ++digit)
    EXPECT_EQ(document.SetText("A", "B", std::string(size, digit)), 34U);
  EXPECT_LT(inUse(), bytesBefore + 5 * size);
  document.Write("<R/>");
  EXPECT_EQ(document.SetText("", "C", "c"), 0U);
  EXPECT_EQ(document.Bytes(), "<R><A><B>" + std::string(size, '9') + "</B></A><C>c</C></R>");
}
#endif

// What the file allows reaches it, whatever waits.
TEST(Saving, SkipsWaitingSetsThatTheFileRefuses) {
  const TestDocument document("<R><A/></R>");
  document.Write("<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;</R>");
  EXPECT_EQ(document.SetText("", "A", "1"), 34U);
  EXPECT_EQ(document.SetText("", "B", "2"), 0U);
  EXPECT_EQ(document.Bytes(), "<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;<B>2</B></R>");
  EXPECT_EQ(document.SetText("", "A", "3"), 34U); // is this call's own again
}

} // namespace
