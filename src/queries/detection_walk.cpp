// The walk over all pairs of a catalog, one pair a call.
#include <algorithm>

#include "queries/detection_fields.h"

namespace {

class DetectionWalk {
 public:
  DetectionWalk(const OpenDocument& document, std::uint32_t* position, DetectionInfo& info) noexcept
      : document(document), position(position), info(info) {}

  // Finds the next pair of equal branch and fills the record from it. The packages that ran out end it with
  // XmlNotFound; what fails inside a package only ends the look at that package.
  std::uint32_t Next() {
    std::uint32_t package = position[0];
    bool matched = false;
    std::uint32_t code = XmlSuccess;
    while (!matched && code == XmlSuccess) {
      code = document.EnumGroup("ProductPackage", package, "", groups.package);
      if (code == XmlSuccess) {
        matched = FindDetection(code);
        if (!matched) StartAgain(position[1], code);
      }
      if (matched) Keep(position[0], package);
      ++package;
    }
    return code;
  }

 private:
  // Tries the detection entries of the package.
  bool FindDetection(std::uint32_t& code) {
    std::uint32_t detection = position[1];
    bool matched = false;
    while (!matched && code == XmlSuccess) {
      code = document.EnumGroup("ProductDetection", detection, groups.package.Text(), groups.detection);
      if (code == XmlSuccess) {
        matched = FindLanguage(code);
        if (!matched) StartAgain(position[2], code);
      }
      if (matched) Keep(position[1], detection);
      ++detection;
    }
    return matched;
  }

  // Tries the language packages of the package against the detection entry.
  bool FindLanguage(std::uint32_t& code) {
    QueryText detectionBranch;
    code = document.Read(groups.detection.Text(), AttributeOf("ProductDetection", "Branch"), detectionBranch);
    std::uint32_t language = position[2];
    bool matched = false;
    while (!matched && code == XmlSuccess) {
      code = document.EnumGroup("LangPackage", language, groups.package.Text(), groups.language);
      if (code == XmlSuccess) {
        QueryText branch;
        code = document.Read(groups.language.Text(), AttributeOf("LangPackage", "Branch"), branch);
        matched = branch == detectionBranch; // whatever the read said: "Not Found" is a text like any other
        if (matched) code = Fill(branch);
      }
      ++language;
      if (matched) Keep(position[2], language);
    }
    return matched;
  }

  // A field whose source is missing stays empty; the last read's code counts.
  std::uint32_t Fill(const QueryText& branch) {
    ReadField(document, groups.detection, TextOf("ProductVersion"), info.ProductVersion);
    ReadField(document, groups.package, TextOf("ProductID"), info.ProductID);
    ReadField(document, groups.language, TextOf("LangID"), info.LangID);
    ReadField(document, groups.detection, TextOf("PlatformID"), info.PlatformID);
    ReadExtraSettings(document, groups.language, info);
    info.Branch = branch.Text();
    ReadField(document, groups.language, TextOf("PackageType"), info.PackageType);
    return ReadField(document, groups.language, AttributeOf("LangPackage", "Version"), info.Version);
  }

  static void StartAgain(std::uint32_t& place, std::uint32_t& code) noexcept {
    place = 1;
    code = XmlSuccess;
  }
  static void Keep(std::uint32_t& place, std::uint32_t number) noexcept { place = std::max(number, 1U); }

  const OpenDocument& document;
  std::uint32_t* position;
  DetectionInfo& info;
  DetectionGroups groups;
};

} // namespace

std::uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const std::uint32_t* cookie, std::uint32_t* position,
                                            DetectionInfo* info) {
  ClearDetectionInfo(*info);
  const OpenDocument document(list, *cookie);
  return DetectionWalk(document, position, *info).Next();
}
