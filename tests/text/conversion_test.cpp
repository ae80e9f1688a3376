#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "paths/parsed.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "text/convert.h"
#include "text/narrow_name.h"
#include "text/narrow_value.h"

using Lines = std::vector<std::string>;

namespace {

struct Case {
  const char* locale;
  std::wstring wide;
  std::string narrow;
};

// Lengths around the in-place room of NarrowValue, plain and not, in both kinds of locale.
std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const char* locale : {"C", "C.utf8"}) {
    for (const std::size_t length : {0u, 1u, 126u, 127u, 128u, 129u, 5000u}) {
      cases.push_back({locale, std::wstring(length, L'z'), std::string(length, 'z')});
    }
  }
  for (const std::size_t length : {0u, 31u, 126u, 127u, 5000u}) {
    cases.push_back(
        {"C.utf8", std::wstring(length, L'a') + L"\u00e9\u0434", std::string(length, 'a') + "\xC3\xA9\xD0\xB4"});
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

    const auto document = Parse("<n" + it.narrow + " v='" + it.narrow + "'>" + it.narrow + "</n" + it.narrow + ">");
    const Ostrum::Element& root = document->GetRoot();
    EXPECT_EQ("n" + it.narrow, NarrowName(root).Text());
    EXPECT_EQ(it.narrow, NarrowValue(root).Text());
    EXPECT_EQ(it.narrow, NarrowValue(root.GetAttribute(L"v")).Text());
  }
  EXPECT_EQ(Lines{}, log.Take());
}

TEST(Conversion, SaysWhyItFails) {
  LogLines log;
  {
    const LocaleGuard locale("C");
    EXPECT_EQ(nullptr, ConvertToMultiByte(L"caf\u00e9"));
    const auto document = Parse("<\xC3\xA9>\xC3\xA9</\xC3\xA9>");
    EXPECT_FALSE(NarrowName(document->GetRoot()).Text());
    EXPECT_EQ(nullptr, NarrowValue(document->GetRoot()).Text());
    EXPECT_EQ(
        (Lines{"Failed to get the length of caf\u00e9:  " + invalid, "Failed to get the length of \u00e9:  " + invalid,
               "Failed to get the length of \u00e9:  " + invalid}),
        log.Take());
  }
  const LocaleGuard locale("C.utf8");
  EXPECT_EQ(nullptr, ConvertToUnicode("a\xFFz"));
  EXPECT_EQ((Lines{"Failed to get the length of a\uFFFDz:  " + invalid}), log.Take());
}
