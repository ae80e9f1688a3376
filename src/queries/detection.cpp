// The detection queries: what a catalog says of a product's detection entry paired with one of its
// language packages.
#include <algorithm>
#include <cassert>

#include "platform/platform.h"
#include "queries/open_document.h"

namespace {

// The group IDs of a pair and of the package that holds both.
struct DetectionGroups {
  QueryText package;
  QueryText detection;
  QueryText language;
};

// What a lookup asks for. A null text is found nowhere.
struct DetectionKey {
  const char* branch;
  const char* productId;
  const char* packageType;
};

void ClearDetectionInfo(DetectionInfo& info) noexcept {
  for (std::string* field : {&info.ProductVersion, &info.ProductID, &info.LangID, &info.PlatformID,
                             &info.MinimumDATVersion, &info.Branch, &info.PackageType,
                             &info.EngineFile, &info.Version}) {
    field->clear();
  }
}

// Reads an item of a group into a field, which stays as it was when there is none. Gives the read's
// code. Throws std::bad_alloc when the field can't grow.
std::uint32_t ReadField(const OpenDocument& document, const QueryText& group, const QueryItem& item,
                        std::string& field) {
  QueryText value;
  const std::uint32_t code = document.Read(group.Text(), item, value);
  if (code == XmlSuccess) field = value.Text();
  return code;
}

// The field that a setting of that name goes into; null for a setting that is of no interest.
std::string* FieldForSetting(const QueryText& name, DetectionInfo& info) noexcept {
  if (platform::MbsCompare(name.Text(), "MinimumDATVersion") == 0) return &info.MinimumDATVersion;
  if (platform::MbsCompare(name.Text(), "EngineFile") == 0) return &info.EngineFile;
  return nullptr;
}

// Reads the n-th setting. XmlNotFound when it lacks its name or its value.
std::uint32_t ReadSetting(const OpenDocument& document, const QueryText& settings,
                          const QueryText& setting, std::uint32_t n, DetectionInfo& info) {
  QueryText name;
  std::uint32_t code = document.Read(setting.Text(), AttributeOf("Setting", "Name"), name);
  if (code != XmlSuccess) return code;
  std::string* field = FieldForSetting(name, info);
  if (field == nullptr) return XmlSuccess;
  QueryText value;
  code = document.ReadNth(settings.Text(), TextOf("Setting"), static_cast<std::int32_t>(n), value);
  if (code == XmlSuccess) *field = value.Text();
  return code;
}

// Fills MinimumDATVersion and EngineFile from the language package's extra settings, if there are
// any. A setting without a name or a value is skipped.
void ReadExtraSettings(const OpenDocument& document, const QueryText& language,
                       DetectionInfo& info) {
  QueryText settings;
  if (document.OpenGroup("ExtraSettings", language.Text(), settings) != XmlSuccess) return;
  QueryText setting;
  std::uint32_t n = 1;
  while (document.EnumGroup("Setting", n, settings.Text(), setting) == XmlSuccess) {
    const std::uint32_t code = ReadSetting(document, settings, setting, n, info);
    if (code != XmlSuccess && code != XmlNotFound) return;
    ++n;
  }
}

// Fills the record from a pair. What the caller looked for, if given, needs no reading. A field
// whose source is missing stays empty. Returns the last read's code.
std::uint32_t Fill(const OpenDocument& document, const DetectionGroups& groups, const char* branch,
                   const DetectionKey* known, DetectionInfo& info) {
  ReadField(document, groups.detection, TextOf("ProductVersion"), info.ProductVersion);
  if (known == nullptr) ReadField(document, groups.package, TextOf("ProductID"), info.ProductID);
  ReadField(document, groups.language, TextOf("LangID"), info.LangID);
  ReadField(document, groups.detection, TextOf("PlatformID"), info.PlatformID);
  ReadExtraSettings(document, groups.language, info);
  info.Branch = branch;
  if (known == nullptr)
    ReadField(document, groups.language, TextOf("PackageType"), info.PackageType);
  if (known != nullptr) info.ProductID = known->productId;
  if (known != nullptr) info.PackageType = known->packageType;
  return ReadField(document, groups.language, AttributeOf("LangPackage", "Version"), info.Version);
}

// The places of a position: where the next call's search begins.
enum Level { Package, Detection, Language };

// Finds the next pair of equal branch and fills the record from it. Returns the code of that, or
// the code of the call that found no further package. A failure inside a package moves on to the
// next one. Each language package is part of at most one pair of a detection entry.
std::uint32_t FindNextPair(const OpenDocument& document, std::uint32_t* position,
                           DetectionInfo& info) {
  DetectionGroups groups;
  QueryText wanted, branch;
  for (std::uint32_t package = position[Package];; ++package, position[Detection] = 1) {
    std::uint32_t code = document.EnumGroup("ProductPackage", package, "", groups.package);
    if (code != XmlSuccess) return code;
    for (std::uint32_t detection = position[Detection];; ++detection, position[Language] = 1) {
      code = document.EnumGroup("ProductDetection", detection, groups.package.Text(),
                                groups.detection);
      if (code != XmlSuccess) break;
      code =
          document.Read(groups.detection.Text(), AttributeOf("ProductDetection", "Branch"), wanted);
      for (std::uint32_t language = position[Language]; code == XmlSuccess; ++language) {
        code = document.EnumGroup("LangPackage", language, groups.package.Text(), groups.language);
        if (code != XmlSuccess) break;
        code = document.Read(groups.language.Text(), AttributeOf("LangPackage", "Branch"), branch);
        // Whatever the code: "Not Found" is a branch like any other.
        if (branch != wanted) continue;
        position[Package] = std::max(package, 1U);
        position[Detection] = std::max(detection, 1U);
        position[Language] = std::max(language + 1, 1U);
        return Fill(document, groups, branch.Text(), nullptr, info);
      }
    }
  }
}

// Looks through the groups of a path for the first, from position on (counted from 1), whose item
// is the wanted text; a null text matches none. On entry group holds the parent's ID, on return the
// ID of the group found, or what the search that ended gave. position moves past the last group
// tried. Gives XmlSuccess when found, else the code of the call that ended the search: XmlNotFound
// when the groups ran out or one lacks the item.
std::uint32_t FindGroupByItemValue(const OpenDocument& document, const char* path, QueryText& group,
                                   const char* wanted, const QueryItem& item,
                                   std::uint32_t& position) {
  assert(path != nullptr && item.name != nullptr);
  const QueryText parent = group;
  QueryText value;
  position = std::max(position, 1U);
  for (;;) {
    std::uint32_t code = document.EnumGroup(path, position++, parent.Text(), group);
    if (code == XmlSuccess) code = document.Read(group.Text(), item, value);
    if (code != XmlSuccess) return code;
    if (wanted != nullptr && platform::MbsCompare(wanted, value.Text()) == 0) return XmlSuccess;
  }
}

// Finds the first language package of the branch that has the package type.
std::uint32_t FindLanguage(const OpenDocument& document, const DetectionKey& key,
                           DetectionGroups& groups) {
  std::uint32_t position = 1;
  for (;;) {
    groups.language = groups.package;
    std::uint32_t code = FindGroupByItemValue(document, "LangPackage", groups.language, key.branch,
                                              AttributeOf("LangPackage", "Branch"), position);
    if (code != XmlSuccess) return code;
    QueryText packageType;
    code = document.Read(groups.language.Text(), TextOf("PackageType"), packageType);
    if (code != XmlSuccess) return code;
    if (key.packageType != nullptr &&
        platform::MbsCompare(packageType.Text(), key.packageType) == 0)
      return XmlSuccess;
  }
}

std::uint32_t FindGroups(const OpenDocument& document, const DetectionKey& key,
                         DetectionGroups& groups) {
  std::uint32_t position = 1;
  std::uint32_t code = FindGroupByItemValue(document, "Catalog\\ProductPackage", groups.package,
                                            key.productId, TextOf("ProductID"), position);
  if (code != XmlSuccess) return code;

  position = 1;
  groups.detection = groups.package;
  code = FindGroupByItemValue(document, "ProductDetection", groups.detection, key.branch,
                              AttributeOf("ProductDetection", "Branch"), position);
  if (code != XmlSuccess) return code;
  return FindLanguage(document, key, groups);
}

} // namespace

std::uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const std::uint32_t* cookie,
                                            std::uint32_t* position, DetectionInfo* info) {
  ClearDetectionInfo(*info);
  const OpenDocument document(list, *cookie);
  return FindNextPair(document, position, *info);
}

std::uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const std::uint32_t* cookie,
                                           const char* branch, const char* productId,
                                           const char* packageType, DetectionInfo* info) {
  ClearDetectionInfo(*info);
  const OpenDocument document(list, *cookie);
  const DetectionKey key{branch, productId, packageType};
  DetectionGroups groups;
  const std::uint32_t code = FindGroups(document, key, groups);
  if (code != XmlSuccess) return code;
  return Fill(document, groups, branch, &key, *info);
}
