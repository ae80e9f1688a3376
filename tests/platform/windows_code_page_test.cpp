// Code pages that report no replaced character. The runtime accepts them as locales only on some
// versions of Windows.
#include <gtest/gtest.h>

#include <string>

#include "platform/platform.h"
#include "platform/windows/code_page.h"

namespace {

std::string Converted(UINT codePage, const wchar_t* text) {
  const std::size_t length = platform::WideToCodePage(codePage, nullptr, text, 0);
  if (length == platform::conversionFailed) return "-";
  std::string bytes(length, '#');
  EXPECT_EQ(platform::WideToCodePage(codePage, bytes.data(), text, length + 1), length);
  return bytes;
}

TEST(WindowsCodePageTest, WithoutFlagsTextIsConvertedBackAndCompared) {
  constexpr UINT gb18030 = 54936;
  EXPECT_EQ(Converted(CP_UTF8, L"\u0141\xD83D\xDE00"), "\xC5\x81\xF0\x9F\x98\x80");
  EXPECT_EQ(Converted(CP_UTF8, L"a\xD83D"), "-");
  EXPECT_EQ(Converted(CP_UTF8, L"\xDE00\xD83D"), "-");
  if (!IsValidCodePage(gb18030)) return; // in Wine
  EXPECT_EQ(Converted(gb18030, L"\u4e2d\xD83D\xDE00"), "\xD6\xD0\x94\x39\xFC\x36");
  EXPECT_EQ(Converted(gb18030, L"a\xD83D"), "-");
}

} // namespace
