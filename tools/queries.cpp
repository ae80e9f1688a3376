// The commands for the library's ready-made queries.
#include <algorithm>

#include "document.h"
#include "output.h"
#include "text.h"

namespace {

std::vector<DetectionInfo> WalkCatalog(const Document& document) {
  std::vector<DetectionInfo> pairs;
  DetectionPosition position = {1, 1, 1};
  for (DetectionInfo info;; pairs.push_back(info)) {
    const auto code = EnumDetectionInfo(document.List(), document.Cookie(), position, &info);
    // A pair whose Version is missing is "not found" as the end is, but only the end leaves the last position at 1.
    if (!document.Succeeded(code) && position[2] == 1) return pairs;
  }
}

std::vector<DetectionInfo> FindOne(const Document& document, const Options& options) {
  DetectionInfo info;
  const auto product = ToLocale(options.arguments[0]), branch = ToLocale(options.arguments[1]);
  const auto type = ToLocale(options.arguments[2]);
  const auto code =
      GetDetectionInfo(document.List(), document.Cookie(), branch->c_str(), product->c_str(), type->c_str(), &info);
  // Where only Version is missing it is "not found" too, with the fields filled, the product asked for among them.
  if (!document.Succeeded(code) && info.ProductID.empty()) return {};
  return {info};
}

// The queries leave a text empty that has no form in the locale, and cut one at 259 bytes.
ExitStatus Finish(const Document& document, const std::vector<Table::Row>& rows, Table table, const char* nothing) {
  bool isCut = false;
  for (const Table::Row& row : rows) {
    isCut = isCut || std::any_of(row.begin(), row.end(), [](const auto& field) { return field->size() > 255; });
    table.Add(row);
  }
  table.Finish();
  if (!HasForm(document.Tree().GenerateXML(false))) {
    document.Note("a text in it has no form in the locale's character set; where it belongs here it is left empty");
  } else if (isCut || rows.empty()) {
    document.Note(isCut ? "a text may be cut: the queries read 259 bytes of each" : nothing);
  }
  return rows.empty() ? ExitStatus::NothingFound : ExitStatus::Found;
}

} // namespace

ExitStatus Status(const Options& options) {
  const Document document(options);
  std::uint8_t enabled = 0;
  const auto code = IsRepositoryEnabled(document.List(), document.Cookie(), &enabled, nullptr, nullptr);
  const bool isStatus = document.Succeeded(code);
  const auto version = isStatus ? document.Read({}, "CatalogVersion") : std::nullopt;
  const Json none;
  if (options.json) {
    PrintJson({{"enabled", isStatus ? Json(enabled == 1) : none}, {"catalogVersion", version ? Json(*version) : none}});
  } else if (isStatus) {
    PrintGood(enabled == 1 ? "enabled" : "disabled", enabled == 1);
    if (version) PrintValue(*version);
  }
  if (!isStatus) document.Note("the root is no SiteStatus with the attribute Status");
  return isStatus ? ExitStatus::Found : ExitStatus::NothingFound;
}

ExitStatus Detect(const Options& options) {
  const Document document(options);
  std::vector<Table::Row> rows;
  for (const auto& pair : options.arguments.empty() ? WalkCatalog(document) : FindOne(document, options)) {
    Table::Row& row = rows.emplace_back();
    for (const auto* field : {&pair.ProductID, &pair.Branch, &pair.PackageType, &pair.LangID, &pair.Version,
                              &pair.ProductVersion, &pair.PlatformID, &pair.MinimumDATVersion, &pair.EngineFile}) {
      row.push_back(FromLocale(*field));
    }
  }
  const Table table(options.json, {"ProductID", "Branch", "PackageType", "LangID", "Version", "ProductVersion",
                                   "PlatformID", "MinimumDATVersion", "EngineFile"});
  return Finish(document, rows, table, "no such detection entry with a language package of its branch");
}

ExitStatus Files(const Options& options) {
  const Document document(options);
  std::vector<FileListEntry> files;
  const bool isWhole = document.Succeeded(GetFileList(document.List(), document.Cookie(), &files));
  std::vector<Table::Row> rows;
  for (const auto& file : files) rows.push_back({FromLocale(file.Name), FromLocale(file.Hash)});
  const Table table(options.json, {"name", "hash"});
  const ExitStatus status = Finish(document, rows, table, "no file with Name and Hash in the first language package");
  if (isWhole || files.empty()) return status;
  throw CommandError(document.File() + ": the entry after " + *rows.back().front() + " lacks its Name or Hash");
}

ExitStatus Match(const Options& options) {
  const Document document(options);
  std::uint32_t matches = 0;
  document.Succeeded(
      MatchXmlListToFileName(document.List(), *document.Cookie(), ToLocale(options.arguments[0])->c_str(), &matches));
  options.json ? PrintJson({{"matches", matches == 1}}) : PrintValue(matches == 1 ? "yes" : "no");
  return matches == 1 ? ExitStatus::Found : ExitStatus::NothingFound;
}
