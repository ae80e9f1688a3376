// Two threads with a list each set items of the same encrypted file, while a third changes the log
// sink and the key. Most useful with the thread sanitizer; wrong results show without it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/open_document.h"
#include "support/system_aes.h"

namespace {

std::atomic<std::size_t> lines[2], mixed;

// A sink that must only be called with the context of its number.
template <int number>
void CountLine(void* context, corekit::LogKind, const wchar_t*, const wchar_t*) {
  ++lines[number];
  if (context != &lines[number]) ++mixed;
}

TEST(Threads, LoseNothingAndMixNothingWhileTheSinkChanges) {
  corekit::SetCipherKey({}); // the same again and again below
  std::jthread changer([](const std::stop_token& stop) {
    for (int i = 0; !stop.stop_requested(); ++i) {
      corekit::SetLogSink(&CountLine<0>, &lines[0]);
      corekit::SetLogSink(&CountLine<1>, &lines[1]);
      if (i % 3 == 0) corekit::SetLogSink(nullptr, nullptr);
      corekit::SetCipherKey({});
      std::this_thread::yield();
    }
  });
  const TestDocument document("<R></R>", PlainAndEncrypted().back());
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  ASSERT_EQ(OpenXML(list, document.Name().c_str(), XmlOpenAtOnce, document.encrypted, &cookie), 0U);
  for (int round = 0; round < 100; ++round) {
    const std::string value = std::to_string(round);
    if (round % 3 == 0) std::filesystem::remove(document.Name());
    if (round == 50) document.Write(""); // as a program that truncates it
    std::atomic<int> ready = 0;          // std::barrier can miss a wake-up on Windows
    const auto set = [&](XmlFileList* own, std::uint32_t ownCookie, const char* item) {
      for (++ready; ready < 2;) std::this_thread::yield();
      EXPECT_EQ(SetXMLItem(own, ownCookie, "", item, "ELEMENT", value.c_str()), 0U);
    };
    std::jthread other(set, list, cookie, "b");
    set(document.list, document.cookie, "a");
    other.join();
    for (const char* item : {"a>", "b>"})
      EXPECT_NE(document.Bytes().find(item + value + "<"), std::string::npos);
  }
  EndXMLList(&list);
  changer = {}; // stops and joins it
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_GT(lines[0] + lines[1], 0U);
  EXPECT_EQ(mixed, 0U);
}

} // namespace
