// The command `check`.
#include <algorithm>

#include "commands.h"
#include "input.h"
#include "output.h"

namespace {

// Adds a member to the results unless the file cannot be read.
ExitStatus CheckOne(const Options& options, JsonObject& results) {
  const auto add = [&](bool isWellFormed, int line, int column, const char* reason) {
    results.emplace(
        Shown(options.file),
        Json{{"wellFormed", isWellFormed}, {"line", line}, {"column", column}, {"reason", reason}});
  };
  try {
    ReadDocument(options);
  } catch (const std::exception& failure) {
    PrintMessage(options.file, failure);
    const auto* const damage = dynamic_cast<const Ostrum::ReadFailure*>(&failure);
    if (damage == nullptr || damage->result != Ostrum::ReadBadEncoding) return ExitStatus::Failed;
    add(false, damage->line, damage->column, damage->what());
    return ExitStatus::NothingFound;
  }
  add(true, 0, 0, "");
  return ExitStatus::Found;
}

} // namespace

ExitStatus Check(const Options& options) {
  JsonObject results;
  auto status = ExitStatus::Found;
  Options one = options;
  const auto check = [&](const std::string& file) {
    one.file = file;
    status = std::max(status, CheckOne(one, results));
  };
  check(options.file);
  std::ranges::for_each(options.arguments, check);
  if (options.json) PrintJson(results);
  return status;
}
