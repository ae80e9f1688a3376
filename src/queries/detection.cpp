// The detection queries: what a catalog says of a product's detection entry paired with one of its
// language packages.
#include <algorithm>
#include <cstring>

#include "platform/platform.h"
#include "queries/open_document.h"

namespace {

// The group IDs of a pair and of the package that holds both.
struct DetectionGroups {
  QueryText package;
  QueryText detection;
  QueryText language;
};

// What a lookup asks for, or what a walk knows of a pair.
struct DetectionKey {
  const char* branch;
  const char* productId = nullptr;
  const char* packageType = nullptr;
};

// Fills MinimumDATVersion and EngineFile from the language package's extra settings, if there are
// any. A setting without a name or a value is skipped.
void ReadExtraSettings(OpenDocument& document, const QueryText& language, DetectionInfo& info) {
  QueryText settings, setting, name, value;
  if (!document.OpenGroup("ExtraSettings", language.text, settings)) return;
  for (std::uint32_t n = 1; document.EnumGroup("Setting", n, settings.text, setting); ++n) {
    std::string* field = nullptr;
    if (document.Read(setting.text, {"Setting", "Name"}, name)) {
      if (platform::MbsCompare(name.text, "MinimumDATVersion") == 0)
        field = &info.MinimumDATVersion;
      if (platform::MbsCompare(name.text, "EngineFile") == 0) field = &info.EngineFile;
    }
    if (field != nullptr && document.ReadNth(settings.text, "Setting", n, value))
      *field = value.text;
    if (document.Code() != XmlSuccess && document.Code() != XmlNotFound) return;
  }
}

// Sets a field to what is known, or else to an item of a group; leaves it as it was if there is
// none. Throws std::bad_alloc if the field cannot grow.
void FillField(OpenDocument& document, const QueryText& group, const QueryItem& item,
               std::string& field, const char* known = nullptr) {
  QueryText value;
  if (known == nullptr && document.Read(group.text, item, value)) known = value.text;
  if (known != nullptr) field = known;
}

// Fills the record from a pair. A field whose source is missing stays empty. Returns the last
// read's code.
std::uint32_t Fill(OpenDocument& document, const DetectionGroups& groups, const DetectionKey& key,
                   DetectionInfo& info) {
  FillField(document, groups.detection, {"ProductVersion"}, info.ProductVersion);
  FillField(document, groups.package, {"ProductID"}, info.ProductID, key.productId);
  FillField(document, groups.language, {"LangID"}, info.LangID);
  FillField(document, groups.detection, {"PlatformID"}, info.PlatformID);
  ReadExtraSettings(document, groups.language, info);
  info.Branch = key.branch;
  FillField(document, groups.language, {"PackageType"}, info.PackageType, key.packageType);
  FillField(document, groups.language, {"LangPackage", "Version"}, info.Version);
  return document.Code();
}

// The places of a position: where the next call's search begins.
enum Level { Package, Detection, Language };

// Finds the next pair of equal branch and fills the record from it. Returns the code of that, or
// the code of the call that found no further package. A failure inside a package moves on to the
// next one. Each language package is part of at most one pair of a detection entry.
std::uint32_t FindNextPair(OpenDocument& document, std::uint32_t* position, DetectionInfo& info) {
  DetectionGroups groups;
  QueryText wanted, branch;
  for (std::uint32_t package = position[Package];
       document.EnumGroup("ProductPackage", package, "", groups.package);
       ++package, position[Detection] = 1) {
    for (std::uint32_t detection = position[Detection];
         document.EnumGroup("ProductDetection", detection, groups.package.text, groups.detection);
         ++detection, position[Language] = 1) {
      bool hasBranch = document.Read(groups.detection.text, {"ProductDetection", "Branch"}, wanted);
      for (std::uint32_t language = position[Language];
           hasBranch &&
           document.EnumGroup("LangPackage", language, groups.package.text, groups.language);
           ++language) {
        hasBranch = document.Read(groups.language.text, {"LangPackage", "Branch"}, branch);
        // Whatever the code: "Not Found" is a branch like any other.
        if (std::strcmp(branch.text, wanted.text) != 0) continue;
        position[Package] = std::max(package, 1U);
        position[Detection] = std::max(detection, 1U);
        position[Language] = std::max(language + 1, 1U);
        return Fill(document, groups, {branch.text}, info);
      }
    }
  }
  return document.Code();
}

bool IsWanted(const QueryText& value, const char* wanted) noexcept {
  return wanted != nullptr && platform::MbsCompare(wanted, value.text) == 0;
}

// Finds the first group of a path below a parent, after the n-th, whose item is the wanted text; a
// null text matches none. n becomes its number. The search ends when the groups run out or one
// lacks the item.
bool FindGroup(OpenDocument& document, const char* path, const char* parent, const QueryItem& item,
               const char* wanted, QueryText& group, std::uint32_t& n) {
  QueryText value;
  do {
    if (!document.EnumGroup(path, ++n, parent, group) || !document.Read(group.text, item, value))
      return false;
  } while (!IsWanted(value, wanted));
  return true;
}

// Finds the product, its first detection entry of the branch, and its first language package of the
// branch that has the package type.
bool FindGroups(OpenDocument& document, const DetectionKey& key, DetectionGroups& groups) {
  const char* const package = groups.package.text;
  std::uint32_t packages = 0, detections = 0, languages = 0;
  if (!FindGroup(document, "Catalog\\ProductPackage", "", {"ProductID"}, key.productId,
                 groups.package, packages) ||
      !FindGroup(document, "ProductDetection", package, {"ProductDetection", "Branch"}, key.branch,
                 groups.detection, detections)) {
    return false;
  }
  QueryText type;
  do {
    if (!FindGroup(document, "LangPackage", package, {"LangPackage", "Branch"}, key.branch,
                   groups.language, languages) ||
        !document.Read(groups.language.text, {"PackageType"}, type)) {
      return false;
    }
  } while (!IsWanted(type, key.packageType));
  return true;
}

} // namespace

std::uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const std::uint32_t* cookie,
                                            std::uint32_t* position, DetectionInfo* info) {
  *info = {};
  OpenDocument document(list, *cookie);
  return FindNextPair(document, position, *info);
}

std::uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const std::uint32_t* cookie,
                                           const char* branch, const char* productId,
                                           const char* packageType, DetectionInfo* info) {
  *info = {};
  OpenDocument document(list, *cookie);
  const DetectionKey key{branch, productId, packageType};
  DetectionGroups groups;
  if (!FindGroups(document, key, groups)) return document.Code();
  return Fill(document, groups, key, *info);
}
