#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "host/ostrumxml/file.h"
#include "output.h"

ExitStatus Check(const Options& options) {
  const LogLines log(options.verbosity);
  UseKey(options);
  const InputFile file(options.file);
  const Examination examination = Examine(file.Name(), options.encrypted);
  const bool isRead = examination.readResult == Ostrum::ReadDone || examination.readResult == Ostrum::ReadBadEncoding;
  if (!isRead) throw CommandError(file.Shown() + examination.Complaint());
  const bool isWellFormed = examination.reason.empty();
  if (options.json) {
    nlohmann::ordered_json json{{"wellFormed", isWellFormed}};
    if (examination.line > 0) json.update({{"line", examination.line}, {"column", examination.column}});
    if (!isWellFormed) json["reason"] = examination.reason;
    PrintJson(json);
  } else if (!isWellFormed) {
    PrintNote(file.Shown() + examination.Complaint());
  }
  return isWellFormed ? ExitStatus::Found : ExitStatus::NothingFound;
}
