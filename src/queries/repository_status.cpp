#include <algorithm>
#include <cstring>

#include "platform/platform.h"
#include "queries/open_document.h"

std::uint32_t TARVIK_CALL IsRepositoryEnabled(XmlFileList* list, const std::uint32_t* cookie, std::uint8_t* enabled,
                                              char* catalogVersion, const std::uint32_t* catalogVersionCapacity) {
  const std::uint32_t capacity = catalogVersion != nullptr ? *catalogVersionCapacity : 0;
  if (capacity > 0) {
    const char miss[] = "Not Found";
    std::memset(catalogVersion, 0, capacity);
    std::memcpy(catalogVersion, miss, std::min<std::size_t>(capacity - 1, sizeof miss));
  }
  *enabled = 0;

  const OpenDocument document(list, *cookie);
  QueryText status;
  const std::uint32_t code = document.Read("SiteStatus", AttributeOf("SiteStatus", "Status"), status);
  if (code != XmlSuccess) return code;

  *enabled = platform::MbsCompare(status.Text(), "Enabled") == 0;
  if (capacity == 0) return XmlSuccess;
  return GetXMLItem(list, *cookie, "SiteStatus", "SiteStatus", "ATTRIBUTE", "CatalogVersion", "ATTRIBUTE",
                    catalogVersion, capacity);
}
