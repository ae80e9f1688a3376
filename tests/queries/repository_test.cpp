#include <gtest/gtest.h>

#include <algorithm>

#include "support/log_lines.h"
#include "support/open_document.h"

using namespace std::string_literals;

TEST(IsRepositoryEnabled, ReadsStatusAndVersion) {
  constexpr int noBuffer = -1;
  const struct {
    std::string attributes;
    int capacity;
    std::uint32_t code;
    std::uint8_t enabled;
    std::string version; // the whole buffer, where it was written
    std::ptrdiff_t reads;
  } cases[] = {
      {"Status='Enabled' CatalogVersion='2.1'", 12, 0, 1, "2.1\0Found\0\0\0"s, 2},
      {"Status='enabled' CatalogVersion='2.1'", 4, 0, 0, "2.1\0"s, 2},
      {"Status='Enabled ' CatalogVersion='2.1'", 3, 0, 0, "2.\0"s, 2},
      {"Status='Enabled'", 12, 3, 1, "Not Found\0\0\0"s, 2},
      {"CatalogVersion='2.1'", 4, 3, 0, "Not\0"s, 1},
      {"CatalogVersion='2.1'", 1, 3, 0, "\0"s, 1},
      {"Status='Enabled'", 0, 0, 1, "", 1},
      {"Status='Enabled'", noBuffer, 0, 1, "", 1},
      {"", noBuffer, 3, 0, "", 1},
      {"Status='" + std::string(300, 'E') + "' CatalogVersion=''", 3, 0, 0, "\0o\0"s, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.attributes.substr(0, 60) + " " + std::to_string(c.capacity));
    const TestDocument document("<SiteStatus " + c.attributes + "/>");
    LogLines log;
    std::string buffer(16, '#');
    std::uint8_t enabled = 7;
    const auto capacity = static_cast<std::uint32_t>(c.capacity);
    char* const version = c.capacity == noBuffer ? nullptr : buffer.data();
    const std::uint32_t* const room = version == nullptr ? nullptr : &capacity;
    EXPECT_EQ(IsRepositoryEnabled(document.list, &document.cookie, &enabled, version, room), c.code);
    EXPECT_EQ(enabled, c.enabled);
    EXPECT_EQ(buffer, c.version + std::string(16 - c.version.size(), '#'));
    EXPECT_EQ(std::ranges::count(log.TakeTraces(), ">GetXMLItem"), c.reads);
  }
}
