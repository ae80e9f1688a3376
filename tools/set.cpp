#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "line_diff.h"
#include "output.h"
#include "set_plan.h"
#include "text.h"

namespace {

// A line end at the end of standard input is the shell's, not the value's.
std::string ValueFromInput() {
  std::string value{std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  if (value.ends_with('\n')) value.pop_back();
  if (value.ends_with('\r')) value.pop_back();
  if (!IsText(value)) throw CommandError("standard input: is not text in the locale's character set");
  return value;
}

std::vector<std::string> ItemsAndValues(const Options& options) {
  std::vector<std::string> items = options.items;
  if (options.valueFromInput && items.size() % 2 == 1) items.push_back(ValueFromInput());
  if (items.size() % 2 == 1)
    throw CommandError(items.back() + ": an item without a VALUE (tarvik set --help tells more)");
  if (options.valueFromInput && items.size() == options.items.size()) {
    throw CommandError("--stdin: gives the last ITEM its value, so leave that out (tarvik set --help tells more)");
  }
  return items;
}

void Save(const Document& document, const std::vector<SetPlan::Call>& calls) {
  for (const SetPlan::Call& call : calls) {
    const auto code = SetXMLItem(document.List(), *document.Cookie(), call.path.c_str(), call.item.c_str(),
                                 call.isAttribute ? "ATTRIBUTE" : "ELEMENT", call.value.c_str());
    if (code == XmlSuccess) continue;
    throw CommandError(document.File() + ": " + call.shownPath + ": not saved: " +
                       (code == XmlOutOfMemory
                            ? "out of memory"
                            : "the file or its folder can't be written, or the disk is full; -v tells why"));
  }
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += all.empty() ? text : ", " + text;
  return all;
}

} // namespace

// All is decided before the first of the items is written.
ExitStatus Set(const Options& options) {
  if (options.file == "-") throw CommandError("standard input: can't be saved; name a file");
  const auto items = ItemsAndValues(options);
  const Document document(options);
  SetPlan plan(document, options.existing);
  for (std::size_t i = 0; i < items.size(); i += 2) {
    plan.Add(options.path, items[i], options.itemIsAttribute, items[i + 1]);
  }
  std::string diff;
  if (options.dryRun) {
    diff = LineDiff(SourceOf(document.Tree()), SourceOf(plan.Result()));
  } else {
    Save(document, plan.Calls());
  }
  if (options.json) {
    nlohmann::ordered_json json{{"saved", !options.dryRun}, {"made", nlohmann::ordered_json::array()}};
    for (const std::string& made : plan.Made()) json["made"].push_back(ToUtf8(made));
    if (options.dryRun) json["changes"] = diff;
    PrintJson(json);
  } else if (options.dryRun && !diff.empty()) {
    diff.pop_back(); // the line end, which is printed with it
    PrintValue(FromUtf8(diff));
  }
  if (!plan.Made().empty()) {
    PrintNote(document.File() + (options.dryRun ? ": would make " : ": made ") + Joined(plan.Made()));
  }
  return ExitStatus::Found;
}
