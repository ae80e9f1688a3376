// The commands that run the library's queries.
#include "document.h"
#include "text.h"

namespace {

std::vector<DetectionInfo> WalkCatalog(const Document& document) {
  std::vector<DetectionInfo> pairs;
  DetectionPosition position = {1, 1, 1};
  for (DetectionInfo info;; pairs.push_back(info)) {
    const auto code = EnumDetectionInfo(document.List(), document.Cookie(), position, &info);
    // Both a pair without Version and the end give "not found", but only the end leaves the last
    // position at 1.
    if (!document.Succeeded(code) && position[2] == 1) return pairs;
  }
}

std::vector<DetectionInfo> FindOne(const Document& document, const std::vector<std::string>& key) {
  DetectionInfo info;
  const auto code = GetDetectionInfo(document.List(), document.Cookie(), ToLocale(key[1])->c_str(),
                                     ToLocale(key[0])->c_str(), ToLocale(key[2])->c_str(), &info);
  // A match without Version also gives "not found", but with the other fields filled.
  if (!document.Succeeded(code) && info.ProductID.empty()) return {};
  return {info};
}

// Removes an incomplete character at the end, which cutting can leave.
std::string Whole(std::string text) {
  while (!FromLocale(text)) text.pop_back();
  return *FromLocale(text);
}

// Prints the table and notes what the queries could not return: they leave texts empty that the
// locale cannot represent, and cut texts to 259 bytes.
ExitStatus Finish(const Document& document, Table table, const std::vector<Table::Row>& rows,
                  const char* nothing) {
  bool isCut = false;
  for (const Table::Row& row : rows) {
    for (const auto& field : row) isCut = isCut || field->size() > 255;
    table.Add(row);
  }
  table.Finish();
  if (!HasForm(document.Tree().GenerateXML(false))) {
    document.Note(
        "the locale's character set can't represent all of it; such a text is left empty");
  } else if (isCut || rows.empty()) {
    document.Note(isCut ? "a text may be cut: the queries read 259 bytes of each" : nothing);
  }
  return rows.empty() ? ExitStatus::NothingFound : ExitStatus::Found;
}

} // namespace

ExitStatus Status(const Document& document, const Options& options) {
  std::uint8_t enabled = 0;
  const bool isStatus = document.Succeeded(
      IsRepositoryEnabled(document.List(), document.Cookie(), &enabled, nullptr, nullptr));
  Json json{{"enabled", nullptr}, {"catalogVersion", nullptr}};
  if (isStatus) json["enabled"] = enabled == 1;
  const auto version =
      isStatus ? document.Read(Follow(document.Tree().GetRoot(), {}).place, "CatalogVersion")
               : std::nullopt;
  if (version) json["catalogVersion"] = *version;
  if (options.json) PrintJson(json);
  if (!options.json && isStatus) PrintGood(enabled == 1 ? "enabled" : "disabled", enabled == 1);
  if (!options.json && version) PrintValue(*version);
  if (!isStatus) document.Note("the root is not a SiteStatus element with the attribute Status");
  return isStatus ? ExitStatus::Found : ExitStatus::NothingFound;
}

ExitStatus Detect(const Document& document, const Options& options) {
  std::vector<Table::Row> rows;
  for (const auto& pair :
       options.arguments.empty() ? WalkCatalog(document) : FindOne(document, options.arguments)) {
    Table::Row& row = rows.emplace_back();
    for (const auto* field :
         {&pair.ProductID, &pair.Branch, &pair.PackageType, &pair.LangID, &pair.Version,
          &pair.ProductVersion, &pair.PlatformID, &pair.MinimumDATVersion, &pair.EngineFile}) {
      row.push_back(Whole(*field));
    }
  }
  Table table(options.json, {"ProductID", "Branch", "PackageType", "LangID", "Version",
                             "ProductVersion", "PlatformID", "MinimumDATVersion", "EngineFile"});
  return Finish(document, table, rows,
                "no such detection entry with a language package of its branch");
}

ExitStatus Files(const Document& document, const Options& options) {
  std::vector<FileListEntry> files;
  const bool isWhole = document.Succeeded(GetFileList(document.List(), document.Cookie(), &files));
  std::vector<Table::Row> rows;
  rows.reserve(files.size());
  for (const auto& file : files) rows.push_back({Whole(file.Name), Whole(file.Hash)});
  const ExitStatus status = Finish(document, Table(options.json, {"name", "hash"}), rows,
                                   "no file with Name and Hash in the first language package");
  if (isWhole || files.empty()) return status;
  document.Fail("the entry after " + *rows.back().front() + " lacks its Name or Hash");
}

ExitStatus Match(const Document& document, const Options& options) {
  std::uint32_t matches = 0;
  document.Succeeded(MatchXmlListToFileName(document.List(), *document.Cookie(),
                                            ToLocale(options.arguments[0])->c_str(), &matches));
  options.json ? PrintJson({{"matches", matches == 1}}) : PrintValue(matches == 1 ? "yes" : "no");
  return matches == 1 ? ExitStatus::Found : ExitStatus::NothingFound;
}
