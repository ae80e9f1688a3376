#include <nlohmann/json.hpp>
#include <vector>

#include "commands.h"
#include "document.h"
#include "output.h"
#include "text.h"

namespace {

void Print(const std::vector<FileListEntry>& files, bool asJson) {
  auto json = nlohmann::ordered_json::array();
  std::vector<std::vector<std::string>> rows;
  for (const auto& file : files) {
    json.push_back({{"name", ToUtf8(file.Name)}, {"hash", ToUtf8(file.Hash)}});
    rows.push_back({file.Name, file.Hash});
  }
  if (asJson) {
    PrintJson(json);
  } else if (!rows.empty()) {
    PrintTable({"Name", "Hash"}, rows);
  }
}

} // namespace

ExitStatus Files(const Options& options) {
  const Document document(options);
  std::vector<FileListEntry> files;
  const bool isWhole = document.Succeeded(GetFileList(document.List(), document.Cookie(), &files));
  Print(files, options.json);
  if (files.empty()) return ExitStatus::NothingFound;
  if (!isWhole) throw CommandError(options.file + ": the entry after " + files.back().Name + " lacks its Name or Hash");
  return ExitStatus::Found;
}
