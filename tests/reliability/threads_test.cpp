// Distinct lists on several threads at once, their lines going to sinks that change meanwhile. Worth most under the thread
// sanitizer; without it, wrong answers still show.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "corekit/corekit.h"
#include "support/open_document.h"
#include "support/system_aes.h"

namespace {

std::atomic<std::size_t> lines[2], mixed;

// The sink that only the context of its number must reach.
template <int number>
void CountLine(void* context, corekit::LogKind, const wchar_t*, const wchar_t*) {
  ++lines[number];
  if (context != &lines[number]) ++mixed;
}

// One thread's work on a list of its own.
void Work(int number) {
  std::string bytes = "<Catalog><ProductPackage><ProductID>0</ProductID></ProductPackage></Catalog>";
  const bool isEncrypted = number % 2 != 0 && SystemHasAes();
  if (isEncrypted) corekit::KCryptWrap::encrypt_data(bytes, bytes);
  TestDocument document(bytes, isEncrypted);
  for (int round = 0; round < 25; ++round) {
    const std::string value = std::to_string(number) + "." + std::to_string(round);
    EXPECT_EQ(document.SetText("ProductPackage", "ProductID", value), 0U);
    document.Reopen();
    ASSERT_EQ(document.Group("ProductPackage"), "ProductPackage");
    EXPECT_EQ(document.Text("ProductPackage", "ProductID"), value);
  }
}

TEST(Threads, WorkOnDistinctListsWhileTheSinkChanges) {
  std::atomic<bool> done = false;
  std::thread changer([&] {
    for (int i = 0; !done; ++i) {
      corekit::SetLogSink(&CountLine<0>, &lines[0]);
      corekit::SetLogSink(&CountLine<1>, &lines[1]);
      if (i % 3 == 0) corekit::SetLogSink(nullptr, nullptr);
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> workers;
  for (int number = 0; number < 4; ++number) workers.emplace_back(Work, number);
  for (std::thread& worker : workers) worker.join();
  done = true;
  changer.join();
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_GT(lines[0] + lines[1], 0U);
  EXPECT_EQ(mixed, 0U);
}

} // namespace
