#include <array>
#include <nlohmann/json.hpp>
#include <vector>

#include "commands.h"
#include "document.h"
#include "output.h"
#include "text.h"

namespace {

struct Field {
  const char* name;
  std::string DetectionInfo::*value;
};

constexpr std::array<Field, 9> Fields = {{
    {"ProductID", &DetectionInfo::ProductID},
    {"Branch", &DetectionInfo::Branch},
    {"PackageType", &DetectionInfo::PackageType},
    {"LangID", &DetectionInfo::LangID},
    {"Version", &DetectionInfo::Version},
    {"ProductVersion", &DetectionInfo::ProductVersion},
    {"PlatformID", &DetectionInfo::PlatformID},
    {"MinimumDATVersion", &DetectionInfo::MinimumDATVersion},
    {"EngineFile", &DetectionInfo::EngineFile},
}};

std::vector<DetectionInfo> WalkCatalog(const Document& document) {
  std::vector<DetectionInfo> pairs;
  DetectionPosition position = {1, 1, 1};
  DetectionInfo info;
  for (;;) {
    const auto code = EnumDetectionInfo(document.List(), document.Cookie(), position, &info);
    // A pair whose Version is missing is "not found" as the end is, but only the end leaves the last position at 1.
    if (!document.Succeeded(code) && position[2] == 1) return pairs;
    pairs.push_back(info);
  }
}

std::vector<DetectionInfo> FindOne(const Document& document, const Options& options) {
  DetectionInfo info;
  const auto code = GetDetectionInfo(document.List(), document.Cookie(), options.branch.c_str(),
                                     options.product.c_str(), options.packageType.c_str(), &info);
  // Where only Version is missing it is "not found" too, with the fields filled, the product asked for among them.
  if (!document.Succeeded(code) && info.ProductID.empty()) return {};
  return {info};
}

void PrintPairTable(const std::vector<DetectionInfo>& pairs) {
  std::vector<std::string> head;
  head.reserve(std::size(Fields));
  for (const auto& field : Fields) head.emplace_back(field.name);
  std::vector<std::vector<std::string>> rows;
  for (const auto& pair : pairs) {
    auto& row = rows.emplace_back();
    for (const auto& field : Fields) row.push_back(pair.*field.value);
  }
  if (!rows.empty()) PrintTable(head, rows);
}

void PrintPairJson(const std::vector<DetectionInfo>& pairs) {
  auto json = nlohmann::ordered_json::array();
  for (const auto& pair : pairs) {
    nlohmann::ordered_json entry;
    for (const auto& field : Fields) entry[field.name] = ToUtf8(pair.*field.value);
    json.push_back(std::move(entry));
  }
  PrintJson(json);
}

} // namespace

ExitStatus Detect(const Options& options) {
  const Document document(options);
  const auto pairs = options.product.empty() ? WalkCatalog(document) : FindOne(document, options);
  if (options.json) {
    PrintPairJson(pairs);
  } else {
    PrintPairTable(pairs);
  }
  return pairs.empty() ? ExitStatus::NothingFound : ExitStatus::Found;
}
