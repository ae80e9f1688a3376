#include <gtest/gtest.h>

#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

struct Refusal {
  const char* path;
  const char* item;
  const char* type;
  const char* value;
};

// Every one names an element that is missing first, which must not be made.
const Refusal refusals[] = {
    {"New\\\\A", "B", "ELEMENT", "v"},
    {"\\New", "B", "ELEMENT", "v"},
    {"New\\", "B", "ELEMENT", "v"},
    {"New\\A\\", "k", "ATTRIBUTE", "v"},
    {"New\\A\\", "k", "NODE", "v"},
    {"\\", "k", "ATTRIBUTE", "v"},
    {"New\\&k=v", "B", "ELEMENT", "v"},
    {"&k=v", "B", "ELEMENT", "v"},
    {"New", "&k=v", "ELEMENT", "v"},
    {"New", "", "ELEMENT", "v"},
    {"", "", "ELEMENT", "v"},
    {"Root", "", "ELEMENT", "v"},
    {"Root\\\\New", "B", "ELEMENT", "v"},
    {"New\\1st", "B", "ELEMENT", "v"},
    {"New", "a b", "ELEMENT", "v"},
    {"New", "<", "ELEMENT", "v"},
    {"New", "A&1=v", "ELEMENT", "v"},
    {"New\\A&k=\x02", "B", "ELEMENT", "v"},
    {"New", "a=b", "ATTRIBUTE", "v"},
    {"New", "a&b", "ATTRIBUTE", "v"},
    {"New", "a\\b", "ATTRIBUTE", "v"},
    {"New", "1", "ATTRIBUTE", "v"},
    {"New", "k", "ATTRIBUTE", "\x1F"},
    {"New", "B", "ELEMENT", "a\x01z"},
    {"New", "B", "ELEMENT", "\xFF"},
    {"New", "\xFF", "ELEMENT", "v"},
    {"New\\\xC3", "B", "ELEMENT", "v"},
    {"New", "k", "ATTRIBUTE", "\xC3("},
    {"New", "B", "ELEMENT", "\xEF\xBF\xBF"},
    {"New", "\xC3\x97", "ELEMENT", "v"},
    {nullptr, "B", "ELEMENT", "v"},
    {"New", nullptr, "ELEMENT", "v"},
    {"New", "B", nullptr, "v"},
    {"New", "B", "ELEMENT", nullptr},
};

TEST(SetItem, RefusesBeforeItChangesAnything) {
  const LocaleGuard utf8("C.UTF-8");
  const std::string bytes = "<Root><A>1</A></Root>";
  const TestDocument document(bytes);
  LogLines log;
  for (const Refusal& c : refusals) {
    SCOPED_TRACE(std::string(c.path ? c.path : "null") + " " + (c.item ? c.item : "null") + " " +
                 (c.value ? c.value : "null"));
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, c.path, c.item, c.type, c.value), 34U);
    EXPECT_EQ(log.Take().back(), "error: Unknown error while setting xml");
    EXPECT_EQ(document.Bytes(), bytes);
    ASSERT_EQ(SetXMLItem(document.list, document.cookie, "", "", "save as it stands", ""), 0U);
    EXPECT_EQ(document.Bytes(), bytes) << "changed in memory";
    log.Clear();
  }
}

} // namespace
