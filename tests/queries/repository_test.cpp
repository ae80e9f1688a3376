#include <gtest/gtest.h>

#include <algorithm>

#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

constexpr int noBuffer = -1;

struct StatusCase {
  std::string document;
  int capacity;
  std::uint32_t code;
  std::uint8_t enabled;
  std::string version; // the whole buffer, where it was written
};

const StatusCase statusCases[] = {
    {"<SiteStatus Status='Enabled' CatalogVersion='2.1'/>", 12, 0, 1, std::string("2.1\0Found\0\0\0", 12)},
    {"<SiteStatus Status='enabled' CatalogVersion='2.1'/>", 4, 0, 0, std::string("2.1\0", 4)},
    {"<SiteStatus Status='Enabled ' CatalogVersion='2.1'/>", 3, 0, 0, std::string("2.\0", 3)},
    {"<SiteStatus Status='Enabled'/>", 12, 3, 1, std::string("Not Found\0\0\0", 12)},
    {"<SiteStatus CatalogVersion='2.1'/>", 4, 3, 0, std::string("Not\0", 4)},
    {"<SiteStatus CatalogVersion='2.1'/>", 1, 3, 0, std::string("\0", 1)},
    {"<SiteStatus Status='Enabled'/>", 0, 0, 1, ""},
    {"<SiteStatus Status='Enabled'/>", noBuffer, 0, 1, ""},
    {"<SiteStatus/>", noBuffer, 3, 0, ""},
    {"<Other Status='Enabled' CatalogVersion='2.1'/>", 12, 3, 0, std::string("Not Found\0\0\0", 12)},
    {"<SiteStatus Status='" + std::string(300, 'E') + "' CatalogVersion=''/>", 3, 0, 0, std::string("\0o\0", 3)},
};

TEST(IsRepositoryEnabled, ReadsStatusAndVersion) {
  for (const StatusCase& c : statusCases) {
    SCOPED_TRACE(c.document.substr(0, 60) + " " + std::to_string(c.capacity));
    const TestDocument document(c.document);
    LogLines log;
    std::string buffer(16, '#');
    std::uint8_t enabled = 7;
    const auto capacity = static_cast<std::uint32_t>(c.capacity);
    EXPECT_EQ(
        IsRepositoryEnabled(document.list, &document.cookie, &enabled, c.capacity == noBuffer ? nullptr : buffer.data(),
                            c.capacity == noBuffer ? nullptr : &capacity),
        c.code);
    EXPECT_EQ(enabled, c.enabled);
    EXPECT_EQ(buffer, c.version + std::string(16 - c.version.size(), '#'));
    const auto traces = log.TakeTraces();
    const bool readsVersion = c.capacity > 0 && c.document.find(" Status") != std::string::npos && c.document[1] == 'S';
    EXPECT_EQ(std::count(traces.begin(), traces.end(), ">GetXMLItem"), readsVersion ? 2 : 1);
  }
}

TEST(IsRepositoryEnabled, NeedsTheDocument) {
  const TestDocument document("<SiteStatus Status='Enabled'/>");
  const std::uint32_t unknown = ~document.cookie;
  const std::uint32_t capacity = 5;
  std::uint8_t enabled = 7;
  char version[] = "####";
  EXPECT_EQ(IsRepositoryEnabled(document.list, &unknown, &enabled, version, &capacity), 3U);
  EXPECT_EQ(enabled, 0);
  EXPECT_STREQ(version, "Not ");
}

} // namespace
