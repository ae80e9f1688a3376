#include <nlohmann/json.hpp>

#include "commands.h"
#include "examination.h"
#include "host/ostrumxml/file.h"
#include "output.h"

ExitStatus Check(const Options& options) {
  const Examination result = Examine(options.file, options.encrypted);
  const bool isRead = result.readResult == Ostrum::ReadDone || result.readResult == Ostrum::ReadBadEncoding;
  const bool isWellFormed = result.reason.empty();
  if (isRead && options.json && isWellFormed) PrintJson({{"wellFormed", true}});
  if (isRead && options.json && !isWellFormed) {
    PrintJson({{"wellFormed", false}, {"line", result.line}, {"column", result.column}, {"reason", result.reason}});
  }
  if (isWellFormed) return ExitStatus::Found;
  throw CommandError(options.shownFile + result.Complaint(), isRead ? ExitStatus::NothingFound : ExitStatus::Failed);
}
