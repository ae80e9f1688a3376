// The command `check`.
#include <algorithm>

#include "commands.h"
#include "input.h"
#include "json.h"
#include "output.h"

namespace {

std::string JsonOf(const std::string& file, int line, int column, const std::string& reason) {
  return JsonText(file) + ": {\"wellFormed\": " + (reason.empty() ? "true" : "false") +
         ", \"line\": " + std::to_string(line) + ", \"column\": " + std::to_string(column) +
         ", \"reason\": " + JsonText(reason) + '}';
}

// Adds a member to the results unless the file cannot be read.
ExitStatus CheckOne(const Options& options, std::vector<std::string>& results) {
  try {
    ReadDocument(options);
    results.push_back(JsonOf(options.shownFile, 0, 0, ""));
    return ExitStatus::Found;
  } catch (const Damage& damage) {
    results.push_back(JsonOf(options.shownFile, damage.line, damage.column, damage.reason));
    PrintMessage(AfterFile(options.shownFile, damage.what()));
    return ExitStatus::NothingFound;
  } catch (const std::exception& failure) {
    PrintMessage(AfterFile(options.shownFile, failure.what()));
    return ExitStatus::Failed;
  }
}

} // namespace

ExitStatus Check(const Options& options) {
  std::vector<std::string> results;
  auto status = ExitStatus::Found;
  for (const auto& [file, shownFile] : options.files) {
    Options one = options;
    one.file = file;
    one.shownFile = shownFile;
    status = std::max(status, CheckOne(one, results));
  }
  if (options.json) PrintJson(results);
  return status;
}
