// A search that failed may have missed an element: a set must not make a second one.
#include <gtest/gtest.h>

#include "paths/path_search.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {
SearchEnd outcome = SearchEnd::Missing;
}

Ostrum::Element* FindElementByPath(Ostrum::Element*, const char*, std::uint32_t, SearchEnd* end) noexcept {
  if (end != nullptr) *end = outcome;
  return &Ostrum::Element::null;
}

TEST(SetItem, MakesNoSecondElementWhenTheSearchFails) {
  const std::string bytes = "<Root><A>1</A></Root>";
  const struct {
    SearchEnd outcome;
    std::uint32_t code;
    const char* line;
    std::string after;
  } cases[] = {{SearchEnd::OutOfMemory, 1, "error: Failed to allocate memory for tokens", bytes},
               {SearchEnd::Failed, 34, "error: Unknown error while setting xml", bytes},
               {SearchEnd::Missing, 0, "", "<Root><A>1</A><A>2</A></Root>"}};
  const TestDocument document(bytes);
  for (const auto& c : cases) {
    outcome = c.outcome;
    LogLines log;
    EXPECT_EQ(document.SetText("", "A", "2"), c.code);
    if (c.code != 0) {
      EXPECT_EQ(log.Take().back(), c.line);
    }
    ASSERT_EQ(SetXMLItem(document.list, document.cookie, "", "", "", ""), 0U);
    EXPECT_EQ(document.Bytes(), c.after);
  }
}
