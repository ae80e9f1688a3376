// Saving while other programs write the file: changes that were answered with 0 must be in the
// file, and other programs' changes must stay.
#include <gtest/gtest.h>

#ifdef __GLIBC__
#include <malloc.h>
#endif

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
  const char *theirs, *after; // null: the file is gone; it is unchanged and the code 34
  const char* line = "";      // a part of the log line of "ostrumxml"
} meetings[] = {
    {before, own},
    {"<!DOCTYPE R><R><A>2</A></R>", own},
    {"<!DOCTYPE R><R><B>1</B></R>", "<!DOCTYPE R><R><B>1</B><A k=\"b c\">new</A></R>",
     "merged"}, // of equal size
    {"<R>\n  <!-- by hand -->\n  <A >9</A>\n  <B/>\n</R >\n",
     "<R>\n  <!-- by hand -->\n  <A k=\"b c\" >new</A>\n  <B/>\n</R >\n", "merged"},
    {"<R><Ab/><A/></R>", "<R><Ab/><A k=\"b c\">new</A></R>", "merged"},
    {"<!DOCTYPE R><R><A>1</A></R><?more?>", "<!DOCTYPE R><R><A k=\"b c\">new</A></R><?more?>",
     "merged"}, // longer by what follows
    {"<R><A>1</A>", own, damaged},
    {"", own, damaged},
    {nullptr, own},
    {"<S><A>1</A></S>", nullptr, "another document"},
    {"\xFE\xFF\xD8", nullptr, undecodable},
    {"<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k=' b' >1</A></R>",
     "<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k='b c' >new</A></R>", "merged"},
    {"<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;</R>", nullptr, "entity"},
};

TEST(Saving, ChangesTheFileAsItIsByThen) {
  for (const std::int32_t encrypted : PlainAndEncrypted()) {
    for (const auto& [theirs, after, line] : meetings) {
      // A damaged file is waited for until it is two seconds old. Once is enough for that, but an
      // empty one is not decrypted.
      if (encrypted != 0 && (line == undecodable || (line == damaged && *theirs != '\0'))) continue;
      SCOPED_TRACE(theirs == nullptr ? "gone" : theirs);
      const TestDocument document(before, encrypted);
      ASSERT_EQ(document.Save(), 0U);
      if (theirs == nullptr) std::filesystem::remove(document.Name());
      if (theirs != nullptr) document.Write(theirs);
      LogLines log;
      EXPECT_EQ(document.SetText("", "A&k=b c", "new"), after != nullptr ? 0U : 34U);
      const std::string lines = testing::PrintToString(log.Take());
      EXPECT_NE(lines.find(line), lines.npos) << lines;
      EXPECT_TRUE(*line != '\0' || lines.find("ostrumxml") == lines.npos) << lines;
      EXPECT_EQ(document.Bytes(), after != nullptr ? after : theirs);

      // The next change also keeps other programs' changes, and applies the one that failed.
      std::string next = after != nullptr ? after : "<R><B/></R>";
      if (after == nullptr) document.Write(next);
      EXPECT_EQ(document.SetText("", "Z", "z"), 0U);
      if (after == nullptr) next = "<R><B/><A k=\"b c\">new</A></R>";
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

// Bytes of memory, where the system can tell.
std::size_t InUse() {
#ifdef __GLIBC__
  return mallinfo2().uordblks + mallinfo2().hblkhd;
#else
  return 0;
#endif
}

// Of a value that is set again and again while the file cannot take it.
TEST(Saving, KeepsOnlyTheFirstAndLastOfWhatWaits) {
  const std::string value(1'000'000, '9');
  const TestDocument document("<R/>");
  document.Write("<S/>");
  const std::size_t bytesBefore = InUse();
  EXPECT_EQ(document.SetText("A", "B", "first"), 34U);
  for (int time = 0; time < 10; ++time) EXPECT_EQ(document.SetText("A", "B", value), 34U);
  EXPECT_LT(InUse(), bytesBefore + 5 * value.size());
  document.Write("<R/>");
  EXPECT_EQ(document.SetText("", "C", "c"), 0U);
  EXPECT_EQ(document.Bytes(), "<R><A><B>" + value + "</B></A><C>c</C></R>");
}

} // namespace
