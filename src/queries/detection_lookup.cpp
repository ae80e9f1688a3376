// The one pair for a product, branch and package type.
#include "platform/platform.h"
#include "queries/detection_fields.h"
#include "queries/group_search.h"

namespace {

// What the caller looks for. A null text is found nowhere.
struct DetectionKey {
  const char* branch;
  const char* productId;
  const char* packageType;
};

// Finds the first language package of the branch that has the package type.
std::uint32_t FindLanguage(const OpenDocument& document, const DetectionKey& key, DetectionGroups& groups) {
  std::uint32_t position = 1;
  for (;;) {
    groups.language = groups.package;
    std::uint32_t code = FindGroupByItemValue(document, "LangPackage", groups.language, key.branch,
                                              AttributeOf("LangPackage", "Branch"), position);
    if (code != XmlSuccess) return code;
    QueryText packageType;
    code = document.Read(groups.language.Text(), TextOf("PackageType"), packageType);
    if (code != XmlSuccess) return code;
    if (key.packageType != nullptr && platform::MbsCompare(packageType.Text(), key.packageType) == 0) return XmlSuccess;
  }
}

std::uint32_t FindGroups(const OpenDocument& document, const DetectionKey& key, DetectionGroups& groups) {
  std::uint32_t position = 1;
  std::uint32_t code = FindGroupByItemValue(document, "Catalog\\ProductPackage", groups.package, key.productId,
                                            TextOf("ProductID"), position);
  if (code != XmlSuccess) return code;

  position = 1;
  groups.detection = groups.package;
  code = FindGroupByItemValue(document, "ProductDetection", groups.detection, key.branch,
                              AttributeOf("ProductDetection", "Branch"), position);
  if (code != XmlSuccess) return code;
  return FindLanguage(document, key, groups);
}

// A field whose source is missing stays empty; the last read's code counts.
std::uint32_t Fill(const OpenDocument& document, const DetectionKey& key, const DetectionGroups& groups,
                   DetectionInfo& info) {
  ReadField(document, groups.detection, TextOf("ProductVersion"), info.ProductVersion);
  info.ProductID = key.productId;
  ReadField(document, groups.language, TextOf("LangID"), info.LangID);
  ReadField(document, groups.detection, TextOf("PlatformID"), info.PlatformID);
  ReadExtraSettings(document, groups.language, info);
  info.Branch = key.branch;
  info.PackageType = key.packageType;
  return ReadField(document, groups.language, AttributeOf("LangPackage", "Version"), info.Version);
}

} // namespace

std::uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const std::uint32_t* cookie, const char* branch,
                                           const char* productId, const char* packageType, DetectionInfo* info) {
  ClearDetectionInfo(*info);
  const OpenDocument document(list, *cookie);
  const DetectionKey key{branch, productId, packageType};
  DetectionGroups groups;
  const std::uint32_t code = FindGroups(document, key, groups);
  return code == XmlSuccess ? Fill(document, key, groups, *info) : code;
}
