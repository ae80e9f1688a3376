// Saving while other programs write the file: sets that returned 0 must be in the file, and other
// programs' changes must stay.
#include <gtest/gtest.h>

#include "support/log_lines.h"
#include "support/open_document.h"
#include "support/system_aes.h"

namespace {

constexpr const char* before = "<!DOCTYPE R><R><A>1</A></R>";
constexpr const char* own = "<!DOCTYPE R><R><A k=\"b c\">new</A></R>";

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
    {"<R><A>1</A>", 0, own, "written over"},
    {"", 0, own, "written over"},
    {nullptr, 0, own, ""},
    {"<S><A>1</A></S>", 34, nullptr, "another document"},
    {"\xFE\xFF\xD8", 34, nullptr, "invalid UTF-16"},
    {"<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k=' b' >1</A></R>", 0,
     "<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k='b c' >new</A></R>", "merged"},
    {"<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;</R>", 34, nullptr, "entity"},
};

TEST(Saving, ChangesTheFileAsItIsByThen) {
  for (const std::int32_t encrypted : PlainAndEncrypted()) {
    for (const auto& [theirs, code, after, line] : meetings) {
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

} // namespace
