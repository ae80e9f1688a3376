// What a save answers is true, whoever else writes the file: sets that answered 0 are in it, and what others wrote stays.
#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <thread>
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "platform/files.h"
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

TEST(Saving, KeepsTheWholeNameAndItsFolder) {
  const TempFolder folder;
  const std::filesystem::path deep = folder.Path() / std::string(150, 'a') / std::string(150, 'b');
  std::filesystem::create_directories(deep);
  const std::filesystem::path start = std::filesystem::current_path();
  XmlFileList* list = nullptr;
  std::uint32_t cookies[2] = {};
  InitXMLList(&list);
  for (const auto& place : {deep, folder.Path()}) std::ofstream(place / "file") << before;
  std::filesystem::current_path(folder.Path());
  EXPECT_EQ(OpenXML(list, (deep / "file").string().c_str(), 4, 0, &cookies[0]), 0U); // more than a record's name holds
  EXPECT_EQ(OpenXML(list, "file", 4, 0, &cookies[1]), 0U);
  std::filesystem::current_path(deep);
  for (const std::uint32_t cookie : cookies) EXPECT_EQ(SetXMLItem(list, cookie, "", "A", "ELEMENT", "new"), 0U);
  std::filesystem::current_path(start);
  EndXMLList(&list);
  for (const auto& place : {deep, folder.Path()}) {
    std::ifstream file(place / "file");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "<!DOCTYPE R><R><A>new</A></R>");
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(deep), {}), 1);
}

constexpr int rounds = 60;

// Sets an item of its own again and again, opening the file anew now and then. Gives how many sets failed.
int SetOften(const std::string& name, const std::string& item) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  int failures = 0;
  for (int round = 1; round <= rounds; ++round) {
    if (round % 7 == 1) {
      EndXMLList(&list);
      InitXMLList(&list);
      if (OpenXML(list, name.c_str(), 4, 0, &cookie) != XmlSuccess) ++failures;
    }
    if (SetXMLItem(list, cookie, "", item.c_str(), "ELEMENT", std::to_string(round).c_str()) != 0) ++failures;
  }
  EndXMLList(&list);
  return failures;
}

// Adds a comment each time, as a person with an editor would between two sets.
int EditOften(const std::string& name) {
  for (int round = 1; round <= rounds; ++round) {
    platform::LockedFile file(name);
    std::string bytes;
    file.Read(SIZE_MAX, bytes);
    bytes.insert(bytes.rfind("</R>"), "<!--" + std::to_string(round) + "-->");
    file.Replace(bytes, 0);
    std::this_thread::yield();
  }
  return 0;
}

// On threads, and in processes where they can be made.
void ExpectAllKept(bool inProcesses) {
  const TempFolder folder;
  const std::string name = folder.Write("file.xml", "<R></R>");
  std::vector<std::thread> threads;
  std::atomic<int> failures = 0;
  const auto start = [&]([[maybe_unused]] auto work) {
#ifndef _WIN32
    const pid_t process = inProcesses ? fork() : 0;
    if (inProcesses && process == 0) _exit(work());
    if (inProcesses) {
      threads.emplace_back([&, process] {
        int status = 0;
        failures += waitpid(process, &status, 0) == process ? status : 1;
      });
      return;
    }
#endif
    threads.emplace_back([&, work] { failures += work(); });
  };
  for (const char* item : {"a", "b", "c"}) start([name, item] { return SetOften(name, item); });
  start([name] { return EditOften(name); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  const std::string bytes = folder.Read("file.xml");
  const std::string last = std::to_string(rounds);
  for (const char* item : {"a", "b", "c"}) {
    EXPECT_NE(bytes.find(std::string("<") + item + ">" + last + "</" + item + ">"), bytes.npos) << bytes;
  }
  for (int round = 1; round <= rounds; ++round) {
    EXPECT_NE(bytes.find("<!--" + std::to_string(round) + "-->"), bytes.npos) << bytes;
  }
  EXPECT_EQ(folder.FileCount(), 1);
}

TEST(Saving, LosesNothingOfThreeWritersAndAnEditor) { ExpectAllKept(false); }
#ifndef _WIN32
TEST(Saving, LosesNothingOfThreeProcessesAndAnEditor) { ExpectAllKept(true); }
#endif

TEST(Saving, LosesNothingWhereTwoMakeAMissingFileAnew) {
  const TestDocument first("<R></R>");
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  ASSERT_EQ(OpenXML(list, first.Name().c_str(), 4, 0, &cookie), 0U);
  for (int round = 0; round < rounds; ++round) {
    const std::string value = std::to_string(round);
    std::filesystem::remove(first.Name());
    std::barrier start(2);
    std::thread other([&] {
      start.arrive_and_wait();
      EXPECT_EQ(SetXMLItem(list, cookie, "", "b", "ELEMENT", value.c_str()), 0U);
    });
    start.arrive_and_wait();
    EXPECT_EQ(first.SetText("", "a", value), 0U);
    other.join();
    for (const char* item : {"a>", "b>"}) EXPECT_NE(first.Bytes().find(item + value + "<"), std::string::npos) << round;
  }
  EndXMLList(&list);
}

} // namespace
