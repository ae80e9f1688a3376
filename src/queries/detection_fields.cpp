#include "queries/detection_fields.h"

#include "platform/platform.h"

namespace {

// The field that a setting of that name goes into; null for a setting that is of no interest.
std::string* FieldForSetting(const QueryText& name, DetectionInfo& info) noexcept {
  if (platform::MbsCompare(name.Text(), "MinimumDATVersion") == 0) return &info.MinimumDATVersion;
  if (platform::MbsCompare(name.Text(), "EngineFile") == 0) return &info.EngineFile;
  return nullptr;
}

// Reads the n-th setting. XmlNotFound when it lacks its name or its value.
std::uint32_t ReadSetting(const OpenDocument& document, const QueryText& settings, const QueryText& setting,
                          std::uint32_t n, DetectionInfo& info) {
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

} // namespace

void ClearDetectionInfo(DetectionInfo& info) noexcept {
  for (std::string* field :
       {&info.ProductVersion, &info.ProductID, &info.LangID, &info.PlatformID, &info.MinimumDATVersion, &info.Branch,
        &info.PackageType, &info.EngineFile, &info.Version}) {
    field->clear();
  }
}

std::uint32_t ReadField(const OpenDocument& document, const QueryText& group, const QueryItem& item,
                        std::string& field) {
  QueryText value;
  const std::uint32_t code = document.Read(group.Text(), item, value);
  if (code == XmlSuccess) field = value.Text();
  return code;
}

std::uint32_t ReadExtraSettings(const OpenDocument& document, const QueryText& language, DetectionInfo& info) {
  QueryText settings;
  std::uint32_t code = document.OpenGroup("ExtraSettings", language.Text(), settings);
  if (code != XmlSuccess) return code == XmlNotFound ? std::uint32_t{XmlSuccess} : code;

  QueryText setting;
  for (std::uint32_t n = 1; code == XmlSuccess; ++n) {
    code = document.EnumGroup("Setting", n, settings.Text(), setting);
    if (code == XmlNotFound) return XmlSuccess; // the settings are used up
    if (code != XmlSuccess) return code;
    code = ReadSetting(document, settings, setting, n, info);
    if (code == XmlNotFound) code = XmlSuccess; // one without a name or a value is skipped
  }
  return code;
}
