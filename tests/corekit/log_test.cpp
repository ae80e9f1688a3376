#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <clocale>
#include <string>
#include <thread>
#include <vector>

#include "corekit/corekit.h"

namespace {

using corekit::KDetailTrace;
using corekit::KString;
using corekit::LogKind;

struct Line {
  LogKind kind;
  std::wstring component;
  std::wstring text;
  bool operator==(const Line&) const = default;
};

// Keeps the lines that it receives as the sink.
struct Receiver {
  Receiver() { corekit::SetLogSink(&Receive, this); }
  ~Receiver() { corekit::SetLogSink(nullptr, nullptr); }
  static void Receive(void* context, LogKind kind, const wchar_t* component, const wchar_t* text) {
    static_cast<Receiver*>(context)->lines.push_back({kind, component, text});
  }
  std::vector<Line> lines;
};

TEST(LogTest, LinesAndTracesReachTheSinkOnlyWhileItIsSet) {
  std::vector<Line> lines;
  {
    const KDetailTrace early(L"A", L"BeforeTheSink");
    Receiver receiver;
    EXPECT_TRUE(corekit::LogIsOn());
    corekit::logDetail(L"A", L"detail");
    corekit::logError(L"B", L"error");
    corekit::logDetail(nullptr, nullptr);
    const KDetailTrace late(L"A", L"OutlivesTheSink");
    { const KDetailTrace whole(L"A", L"Whole"); }
    corekit::SetLogSink(nullptr, nullptr);
    EXPECT_FALSE(corekit::LogIsOn());
    corekit::logDetail(L"A", L"dropped");
    lines = receiver.lines;
  }
  const std::vector<Line> expected = {
      {LogKind::Detail, L"A", L"detail"},    {LogKind::Error, L"B", L"error"},
      {LogKind::Detail, L"", L""},           {LogKind::TraceEnter, L"A", L"OutlivesTheSink"},
      {LogKind::TraceEnter, L"A", L"Whole"}, {LogKind::TraceLeave, L"A", L"Whole"},
  };
  EXPECT_TRUE(lines == expected);
}

TEST(LogTest, TheBuilderJoinsEveryKindOfPiece) {
  KString early(L"made without a sink");
  const Receiver receiver;
  early << L"stays empty" << 1L;
  EXPECT_STREQ(early, L"");

  KString line(L"wide ");
  line << "narrow" << static_cast<const char*>(nullptr) << static_cast<const wchar_t*>(nullptr) << "" << L" " << 0L
       << L" " << -7L << L" " << 4294967295UL;
  EXPECT_STREQ(line, L"wide narrow 0 -7 4294967295");
  KString extremes("");
  extremes << LONG_MIN << "," << LONG_MAX << "," << ULONG_MAX;
  EXPECT_EQ(std::wstring(extremes),
            std::to_wstring(LONG_MIN) + L"," + std::to_wstring(LONG_MAX) + L"," + std::to_wstring(ULONG_MAX));

  // Pieces that end before, at and behind every capacity the builder goes through.
  KString grown(L"");
  std::wstring expected;
  for (std::size_t size = 1; size < 600; size += 7) {
    const std::wstring piece(size, static_cast<wchar_t>(L'a' + size % 26));
    grown << piece.c_str();
    expected += piece;
    ASSERT_EQ(std::wstring(grown), expected);
  }
}

#ifndef _WIN32 // the runtime there has no UTF-8 locale
TEST(LogTest, NarrowPiecesAreInTheLocalesCharacterSet) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  const Receiver receiver;
  KString line("\xC3\xA9\xF0\x9F\x98\x80");
  line << "a\xC3"
       << "b\xFF\xA9";
  EXPECT_STREQ(line,
               L"\xE9\x1F600"
               L"a\xFFFD"
               L"b\xFFFD\xFFFD");
  std::setlocale(LC_CTYPE, "C");
  EXPECT_STREQ(KString("\xC3\xA9"), L"\xFFFD\xFFFD");
}
#endif

struct SinkContext {
  int number;
  std::atomic<int> lines{0};
};
std::atomic<int> mixedPairs{0};

// The sink of that number, which no other sink's context must reach.
template <int number>
void CheckContext(void* context, LogKind, const wchar_t*, const wchar_t*) {
  auto& own = *static_cast<SinkContext*>(context);
  ++own.lines;
  if (own.number != number) ++mixedPairs;
}

TEST(LogTest, SinkAndContextStayTogetherWhileThreadsLog) {
  SinkContext first{1};
  SinkContext second{2};
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        const KDetailTrace trace(L"A", L"Function");
        KString line(L"line ");
        line << 1L;
        corekit::logDetail(L"A", line);
      }
    });
  }
  for (int round = 0; round < 20000 || first.lines == 0 || second.lines == 0; ++round) {
    corekit::SetLogSink(&CheckContext<1>, &first);
    corekit::SetLogSink(&CheckContext<2>, &second);
    if (round % 3 == 0) corekit::SetLogSink(nullptr, nullptr);
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_EQ(mixedPairs, 0);
}

TEST(LogTest, ASinkMayLogAndSetAnotherSink) {
  const Receiver receiver;
  corekit::SetLogSink(
      [](void* context, LogKind, const wchar_t* component, const wchar_t* text) {
        corekit::SetLogSink(&Receiver::Receive, context);
        corekit::logError(component, text);
      },
      const_cast<Receiver*>(&receiver));
  corekit::logDetail(L"A", L"handed on");
  EXPECT_TRUE(receiver.lines == (std::vector<Line>{{LogKind::Error, L"A", L"handed on"}}));
}

} // namespace
