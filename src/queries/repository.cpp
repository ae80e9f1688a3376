// The other queries: a repository's status and files, and whether a document is the one of a name.
#include <algorithm>
#include <cstring>
#include <exception>
#include <vector>

#include "platform/platform.h"
#include "queries/open_document.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"

namespace {

// If a standard exception prevents it, files is unchanged.
std::uint32_t AppendFile(const OpenDocument& document, const QueryText& item,
                         std::vector<FileListEntry>& files) {
  QueryText name;
  std::uint32_t code = document.Read(item.Text(), TextOf("Name"), name);
  if (code != XmlSuccess) return code;
  QueryText hash;
  code = document.Read(item.Text(), TextOf("Hash"), hash);
  if (code != XmlSuccess) return code;
  try {
    files.push_back({name.Text(), hash.Text()});
    return XmlSuccess;
  } catch (const std::exception&) {
    return XmlFailure;
  }
}

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

  const OpenDocument document(list, *cookie);
  QueryText status;
  const std::uint32_t code =
      document.Read("SiteStatus", AttributeOf("SiteStatus", "Status"), status);
  if (code != XmlSuccess) return code;

  *enabled = platform::MbsCompare(status.Text(), "Enabled") == 0;
  if (capacity == 0) return XmlSuccess;
  return GetXMLItem(list, *cookie, "SiteStatus", "SiteStatus", "ATTRIBUTE", "CatalogVersion",
                    "ATTRIBUTE", catalogVersion, capacity);
}

std::uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const std::uint32_t* cookie,
                                      std::vector<FileListEntry>* files) {
  const OpenDocument document(list, *cookie);
  QueryText item;
  for (std::uint32_t n = 1;; ++n) {
    std::uint32_t code =
        document.EnumGroup("ProductPackage\\LangPackage\\FileList\\FileItem", n, "", item);
    if (code == XmlNotFound && n > 1) return XmlSuccess; // the end, after at least one entry
    if (code == XmlSuccess) code = AppendFile(document, item, *files);
    if (code != XmlSuccess) return code;
  }
}

std::uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, std::uint32_t cookie,
                                                 const char* fileName, std::uint32_t* matches) {
  const CharsetScope charset;
  const XmlFileRecord* record = FindXmlFile(list, cookie);
  if (record == nullptr) return XmlNotFound;
  if (matches == nullptr || fileName == nullptr) return XmlInvalidArgument;
  *matches = platform::MbsCompareNoCase(LastComponent(record->fileName), fileName) == 0;
  return XmlSuccess;
}
