#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "output.h"

ExitStatus Match(const Options& options) {
  const Document document(options);
  std::uint32_t matches = 0;
  document.Succeeded(MatchXmlListToFileName(document.List(), *document.Cookie(), options.name.c_str(), &matches));
  if (options.json) {
    PrintJson({{"matches", matches == 1}});
  } else {
    PrintValue(matches == 1 ? "yes" : "no");
  }
  return matches == 1 ? ExitStatus::Found : ExitStatus::NothingFound;
}
