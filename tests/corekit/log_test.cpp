#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "corekit/corekit.h"
#include "support/locale_guard.h"

namespace {

using corekit::KDetailTrace;
using corekit::KString;
using corekit::LogKind;

// Shows the kind of a line by a sign: those of TraceEnter, TraceLeave, Detail and Error.
void Keep(void* lines, CorekitLogKind kind, const wchar_t* component, const wchar_t* text) {
  *static_cast<std::wstring*>(lines) +=
      L"<>+!"[kind] + std::wstring(component) + L":" + text + L" ";
}

// A sink may log, and set another sink.
void HandOn(void* lines, LogKind, const wchar_t* component, const wchar_t* text) {
  CorekitSetLogSink(&Keep, lines);
  corekit::logError((component + std::wstring(L"B")).c_str(),
                    (L"handed on" + std::wstring(text)).c_str());
}

TEST(LogTest, LinesAndTracesReachTheSinkOnlyWhileItIsSet) {
  std::wstring lines;
  {
    // What was entered before is not left, either.
    (KDetailTrace(L"A", L"BeforeTheSink"), corekit::SetLogSink(&HandOn, &lines));
    for (int time = 0; time < 2; ++time) corekit::logDetail(nullptr, nullptr);
    const KDetailTrace late(L"A", L"Outlives");
    { const KDetailTrace whole(L"A", L"Whole"); }
    corekit::SetLogSink(nullptr, nullptr);
    corekit::logDetail(L"A", L"dropped");
  }
  EXPECT_EQ(lines, L"!B:handed on +: <A:Outlives <A:Whole >A:Whole ");
}

TEST(LogTest, TheBuilderJoinsEveryKindOfPiece) {
  KString early(L"made without a sink");
  CorekitSetLogSink(&Keep, nullptr);
  EXPECT_STREQ(early << "and not built" << 1L, L"");
  KString line("narrow");
  line << static_cast<const char*>(nullptr) << static_cast<const wchar_t*>(nullptr) << LONG_MIN
       << " " << ULONG_MAX;
  std::wstring expected = L"narrow" + std::to_wstring(LONG_MIN) + L" " + std::to_wstring(ULONG_MAX);
  // Lengths just below, at and above every capacity of the builder.
  for (std::size_t size = 1; size < 600; size += 7) {
    const std::wstring piece(size, static_cast<wchar_t>(L'a' + size % 26));
    line << piece.c_str();
    expected += piece;
    ASSERT_EQ(std::wstring(line), expected);
  }

  CorekitSetUtf8(2);
  KString utf8("\u00e9\U0001F600x\xC3");
  CorekitSetUtf8(0);
  EXPECT_STREQ(utf8 << L"y", L"\u00e9\U0001F600x\uFFFDy");
  const LocaleGuard locale(hasUtf8 ? "C.UTF-8" : ".1252");
  KString narrow(hasUtf8 ? "\u00e9\U0001F600x\xC3" : "\xE9\x80");
  EXPECT_STREQ(narrow << "\xFF",
               hasUtf8 ? L"\u00e9\U0001F600x\uFFFD\uFFFD" : L"\u00e9\u20ac\u00ff");
  corekit::SetLogSink(nullptr, nullptr);
}

} // namespace
