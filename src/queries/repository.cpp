// The other queries: a repository's status and files, and whether a document is the one of a name.
#include <algorithm>
#include <cstring>
#include <exception>
#include <vector>

#include "platform/platform.h"
#include "queries/open_document.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"

namespace {

const char* LastComponent(const char* fileName) noexcept {
  const char* separator = platform::MbsFindLastChar(fileName, '/');
  if (separator == nullptr) separator = platform::MbsFindLastChar(fileName, '\\');
  if (separator == nullptr) return fileName;
  return separator + 1;
}

} // namespace

std::uint32_t TARVIK_CALL IsRepositoryEnabled(XmlFileList* list, const std::uint32_t* cookie,
                                              std::uint8_t* enabled, char* catalogVersion,
                                              const std::uint32_t* catalogVersionCapacity) {
  const std::uint32_t capacity = catalogVersion != nullptr ? *catalogVersionCapacity : 0;
  if (capacity > 0) {
    const char miss[] = "Not Found";
    std::memset(catalogVersion, 0, capacity);
    std::memcpy(catalogVersion, miss, std::min<std::size_t>(capacity - 1, sizeof miss));
  }
  *enabled = 0;

  OpenDocument document(list, *cookie);
  QueryText status;
  if (!document.Read("SiteStatus", {"SiteStatus", "Status"}, status)) return document.Code();

  *enabled = platform::MbsCompare(status.text, "Enabled") == 0;
  if (capacity == 0) return XmlSuccess;
  return GetXMLItem(list, *cookie, "SiteStatus", "SiteStatus", "ATTRIBUTE", "CatalogVersion",
                    "ATTRIBUTE", catalogVersion, capacity);
}

std::uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const std::uint32_t* cookie,
                                      std::vector<FileListEntry>* files) {
  OpenDocument document(list, *cookie);
  QueryText item, name, hash;
  std::uint32_t n = 1;
  for (; document.EnumGroup("ProductPackage\\LangPackage\\FileList\\FileItem", n, "", item); ++n) {
    if (!document.Read(item.text, {"Name"}, name) || !document.Read(item.text, {"Hash"}, hash))
      return document.Code();
    try {
      files->push_back({name.text, hash.text});
    } catch (const std::exception&) { // files is then unchanged
      return XmlFailure;
    }
  }
  if (document.Code() == XmlNotFound && n > 1) return XmlSuccess; // the end, after at least one
  return document.Code();
}

std::uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, std::uint32_t cookie,
                                                 const char* fileName, std::uint32_t* matches) {
  const CharsetScope charset;
  const XmlFileRecord* record = FindXmlFile(list, cookie);
  if (record == nullptr) return XmlNotFound;
  if (matches == nullptr || fileName == nullptr) return XmlInvalidArgument;
  *matches = platform::MbsEqualsNoCase(LastComponent(record->fileName), fileName);
  return XmlSuccess;
}
