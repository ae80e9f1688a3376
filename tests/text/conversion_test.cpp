#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "text/convert.h"
#include "text/narrow_name.h"

using Lines = std::vector<std::string>;

namespace {

struct Case {
  const char* locale;
  std::wstring wide;
  std::string narrow;
};

// Lengths around the in-place room of NarrowName, plain and not, in both kinds of locale.
std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const char* locale : {"C", "C.utf8"}) {
    for (const std::size_t length : {0u, 1u, 62u, 63u, 64u, 65u, 5000u}) {
      cases.push_back({locale, std::wstring(length, L'~'), std::string(length, '~')});
    }
  }
  for (const std::size_t length : {0u, 31u, 62u, 63u, 5000u}) {
    cases.push_back({"C.utf8", std::wstring(length, L'a') + L"\u00e9\u20ac", std::string(length, 'a') + "\xC3\xA9\xE2\x82\xAC"});
  }
  return cases;
}

const std::string invalid = std::strerror(EILSEQ);

} // namespace

TEST(Conversion, GoesBothWays) {
  LogLines log;
  for (const Case& it : Cases()) {
    const LocaleGuard locale(it.locale);
    EXPECT_EQ(it.narrow, MultiByteText(ConvertToMultiByte(it.wide)).get());
    EXPECT_EQ(it.wide, WideText(ConvertToUnicode(it.narrow.c_str())).get());
    EXPECT_EQ(it.narrow, NarrowName(it.wide).Text());
  }
  EXPECT_EQ(Lines{}, log.Take());
}

TEST(Conversion, SaysWhyItFails) {
  LogLines log;
  {
    const LocaleGuard locale("C");
    EXPECT_EQ(nullptr, ConvertToMultiByte(L"caf\u00e9"));
    EXPECT_EQ(nullptr, NarrowName(L"\u00e9").Text());
    EXPECT_EQ((Lines{"Failed to get the length of caf\u00e9:  " + invalid, "Failed to get the length of \u00e9:  " + invalid}),
              log.Take());
  }
  const LocaleGuard locale("C.utf8");
  EXPECT_EQ(nullptr, ConvertToUnicode("a\xFFz"));
  EXPECT_EQ((Lines{"Failed to get the length of a\uFFFDz:  " + invalid}), log.Take());
}
