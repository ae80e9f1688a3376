// What a save answers is true, whoever else writes the file: sets that answered 0 are in it, and what others wrote stays.
#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

std::string Sealed(std::string bytes, std::int32_t encrypted) {
  EXPECT_TRUE(encrypted == 0 || corekit::KCryptWrap::encrypt_data(bytes, bytes));
  return bytes;
}
std::string Opened(std::string bytes, std::int32_t encrypted) {
  if (encrypted != 0) corekit::KCryptWrap::decrypt_data(bytes, bytes);
  return bytes;
}

constexpr const char* before = "<!DOCTYPE R><R><A>1</A></R>";
constexpr const char* own = "<!DOCTYPE R><R><A k=\"b c\">new</A></R>";

// What stands in the file when the document, opened as `before`, sets A and its attribute, and what it holds then.
const struct {
  const char* theirs; // null: the file is gone
  std::uint32_t code;
  const char* after; // null: nothing is changed
  const char* line;  // under "ostrumxml"
} meetings[] = {
    {before, 0, own, ""},
    {"<!DOCTYPE R><R><A>2</A></R>", 0, own, ""},
    {"<R>\n  <!-- by hand -->\n  <A >9</A>\n  <B/>\n</R >\n", 0,
     "<R>\n  <!-- by hand -->\n  <A k=\"b c\" >new</A>\n  <B/>\n</R >\n", "merged"},
    {"<R><B/></R>", 0, "<R><B/><A k=\"b c\">new</A></R>", "merged"},
    {"<R><Ab/><A/></R>", 0, "<R><Ab k=\"b c\">new</Ab><A/></R>", "merged"},
    {"<R><A>1</A>", 0, own, "written over"},
    {"", 0, own, "written over"},
    {nullptr, 0, own, ""},
    {"<S><A>1</A></S>", 34, nullptr, "another document"},
    {"\xFE\xFF\xD8", 34, nullptr, "no text"},
    {"<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k=' b' >1</A></R>", 0,
     "<!DOCTYPE R [<!ATTLIST A k NMTOKENS #IMPLIED>]><R><A k='b c' >new</A></R>", "merged"},
    {"<!DOCTYPE R [<!ENTITY e '<A/>'>]><R>&e;</R>", 34, nullptr, "entity"},
};

TEST(Saving, ChangesTheFileAsItIsByThen) {
  for (const std::int32_t encrypted : {0, 1}) {
    for (const auto& [theirs, code, after, line] : meetings) {
      SCOPED_TRACE(theirs == nullptr ? "gone" : theirs);
      const TestDocument document(Sealed(before, encrypted), encrypted);
      const auto write = [&](const char* text) { document.Write(*text == '\0' ? "" : Sealed(text, encrypted)); };
      ASSERT_EQ(document.Save(), 0U);
      theirs == nullptr ? static_cast<void>(std::filesystem::remove(document.Name())) : write(theirs);
      LogLines log;
      EXPECT_EQ(document.SetText("", "A&k=b c", "new"), code);
      const std::string lines = testing::PrintToString(log.Take());
      EXPECT_NE(lines.find(line), lines.npos) << lines;
      EXPECT_TRUE(*line != '\0' || lines.find("ostrumxml") == lines.npos) << lines;
      EXPECT_EQ(Opened(document.Bytes(), encrypted), after != nullptr ? after : theirs);

      // What was written by others stays with the next set, too, and what could not be set then is now.
      if (code != 0) write("<R><B/></R>");
      EXPECT_EQ(document.SetText("", "Z", "z"), 0U);
      std::string next = after != nullptr ? after : "<R><B/><A k=\"b c\">new</A></R>";
      next.insert(next.rfind("</R") - (next.ends_with('\n') ? 1 : 0),
                  next.ends_with('\n') ? "\n  <Z>z</Z>" : "<Z>z</Z>");
      EXPECT_EQ(Opened(document.Bytes(), encrypted), next);
      EXPECT_EQ(document.FilesInFolder(), 1);
    }
  }
}

// Two lists of one process, each on a thread of its own, with one file between them, which is gone now and then.
TEST(Saving, LosesNothingOfTwoThreads) {
  const TestDocument document("<R></R>");
  const std::string name = document.Name();
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  ASSERT_EQ(OpenXML(list, name.c_str(), 4, 0, &cookie), 0U);
  for (int round = 0; round < 100; ++round) {
    const std::string value = std::to_string(round);
    if (round % 3 == 0) std::filesystem::remove(name);
    std::barrier start(2);
    std::thread other([&] {
      start.arrive_and_wait();
      EXPECT_EQ(SetXMLItem(list, cookie, "", "b", "ELEMENT", value.c_str()), 0U);
    });
    start.arrive_and_wait();
    EXPECT_EQ(document.SetText("", "a", value), 0U);
    other.join();
    for (const char* item : {"a>", "b>"}) {
      EXPECT_NE(document.Bytes().find(item + value + "<"), std::string::npos) << round;
    }
  }
  EndXMLList(&list);
}

} // namespace
