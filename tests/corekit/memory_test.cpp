// What the log costs without a sink, and what happens when memory runs out.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cwchar>
#include <new>

#include "corekit/corekit.h"

namespace {

int calls = 0;         // of the functions below since it was set to 0
int allowed = INT_MAX; // allocations that still succeed

bool Allowed() {
  ++calls;
  return allowed > 0 && allowed-- > 0;
}

} // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);
std::size_t __real_mbrtowc(wchar_t* wide, const char* text, std::size_t size, std::mbstate_t* state);

void* __wrap_malloc(std::size_t size) { return Allowed() ? __real_malloc(size) : nullptr; }
void* __wrap_calloc(std::size_t count, std::size_t size) { return Allowed() ? __real_calloc(count, size) : nullptr; }
void* __wrap_realloc(void* old, std::size_t size) { return Allowed() ? __real_realloc(old, size) : nullptr; }
std::size_t __wrap_mbrtowc(wchar_t* wide, const char* text, std::size_t size, std::mbstate_t* state) {
  ++calls;
  return __real_mbrtowc(wide, text, size, state);
}
}

// Not inlined, or the compiler takes the pair for a mismatch of new and free.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

void DropLine(void*, corekit::LogKind, const wchar_t*, const wchar_t*) {}

void LogOneLine() {
  const corekit::KDetailTrace trace(L"A", L"Function");
  corekit::KString line("narrow");
  line << L"wide" << "narrow" << 1L << 2UL;
  corekit::logDetail(L"A", line);
}

TEST(MemoryTest, WithoutASinkNothingIsAllocatedOrConverted) {
  corekit::SetLogSink(&DropLine, nullptr);
  calls = 0;
  LogOneLine();
  EXPECT_GT(calls, 0) << "the count must work";
  corekit::SetLogSink(nullptr, nullptr);
  calls = 0;
  LogOneLine();
  EXPECT_EQ(calls, 0);
}

TEST(MemoryTest, ALineThatFindsNoMemoryIsCutAndNothingFollowsTheGap) {
  corekit::SetLogSink(&DropLine, nullptr);
  const std::wstring tooLong(1000, L'x');
  corekit::KString line(L"start");
  allowed = 0;
  line << L" goes on" << tooLong.c_str() << L"after the gap";
  corekit::KString empty("none");
  empty << 1L;
  allowed = INT_MAX;
  line << L"after the gap";
  EXPECT_STREQ(line, L"start goes on");
  EXPECT_STREQ(empty, L"");
  corekit::SetLogSink(nullptr, nullptr);
}

TEST(MemoryTest, TheCipherAnswersFalseWithAnEmptyOutput) {
  const std::string text(1000, 't');
  std::string cipher;
  ASSERT_TRUE(corekit::KCryptWrap::encrypt_data(text, cipher));
  for (const auto function : {&corekit::KCryptWrap::encrypt_data, &corekit::KCryptWrap::decrypt_data}) {
    std::string output = "old";
    allowed = 0;
    const bool done = function(cipher, output);
    allowed = INT_MAX;
    EXPECT_FALSE(done);
    EXPECT_EQ(output, "");
  }
}

} // namespace
