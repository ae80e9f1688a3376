// Distinct lists on several threads at once, their lines going to sinks that change meanwhile. Worth most under the thread
// sanitizer; without it, wrong answers still show.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "corekit/corekit.h"
#include "support/open_document.h"

namespace {

std::atomic<std::size_t> characters = 0;

void CountCharacters(void* total, corekit::LogKind, const wchar_t* component, const wchar_t* text) {
  *static_cast<std::atomic<std::size_t>*>(total) +=
      std::char_traits<wchar_t>::length(component) + std::char_traits<wchar_t>::length(text);
}

// One thread's work on a list of its own: opens, reads, sets, saves and closes, and looks at what came out.
void Work(int number, int rounds) {
  std::string bytes = "<Catalog><ProductPackage><ProductID>0</ProductID></ProductPackage></Catalog>";
  const std::int32_t encrypted = number % 2;
  if (encrypted != 0) corekit::KCryptWrap::encrypt_data(bytes, bytes);
  TestDocument document(bytes, encrypted);
  for (int round = 0; round < rounds; ++round) {
    const std::string value = std::to_string(number) + "." + std::to_string(round);
    EXPECT_EQ(document.Group("ProductPackage"), "ProductPackage");
    EXPECT_EQ(document.SetText("ProductPackage", "ProductID", value), 0U);
    EXPECT_EQ(document.SetAttribute("ProductPackage", "round", value), 0U);
    document.Reopen();
    ASSERT_EQ(document.Group("ProductPackage"), "ProductPackage");
    char text[260];
    EXPECT_EQ(GetXMLItem(document.list, document.cookie, "ProductPackage", "ProductID", "ELEMENT", nullptr, nullptr,
                         text, sizeof text),
              0U);
    EXPECT_EQ(text, value);
  }
}

TEST(Threads, WorkOnDistinctListsWhileTheSinkChanges) {
  constexpr int workers = 4;
  std::atomic<bool> done = false;
  std::thread changer([&done] {
    for (int i = 0; !done; ++i) {
      corekit::SetLogSink(i % 3 == 0 ? nullptr : &CountCharacters, &characters);
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> threads;
  for (int number = 0; number < workers; ++number) threads.emplace_back(Work, number, 25);
  for (std::thread& thread : threads) thread.join();
  done = true;
  changer.join();
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_GT(characters, 0U);
}

} // namespace
