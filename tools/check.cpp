// The command `check`.
#include <algorithm>

#include "commands.h"
#include "input.h"
#include "output.h"

namespace {

Json Result(bool isWellFormed, int line, int column, const std::string& reason) {
  return {{"wellFormed", isWellFormed}, {"line", line}, {"column", column}, {"reason", reason}};
}

// Adds a member to the results unless the file cannot be read.
ExitStatus CheckOne(const Options& options, Json& results) {
  try {
    ReadDocument(options);
    results[Shown(options.file)] = Result(true, 0, 0, "");
    return ExitStatus::Found;
  } catch (const Damage& damage) {
    results[Shown(options.file)] = Result(false, damage.line, damage.column, damage.reason);
    PrintMessage(options.file, damage.what());
    return ExitStatus::NothingFound;
  } catch (const std::exception& failure) {
    PrintMessage(options.file, failure.what());
    return ExitStatus::Failed;
  }
}

} // namespace

ExitStatus Check(const Options& options) {
  Json results = Json::object();
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
